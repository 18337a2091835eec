// What is read from KCD files, and what is reported of those that are wrong.
#include "tools/definitions/kcd/KcdReader.h"
#include "tests/tools/definitions/Damage.h"
#include "tests/tools/definitions/XmlFormat.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"

#include <gtest/gtest.h>

#include <string>

namespace qztool {

namespace {

class KcdReader : public XmlFormat {
protected:
    // The content of a bus begins on line 3.
    static Database readBus(std::string const& content) {
        return readKcd("<?xml version=\"1.0\"?>\n<NetworkDefinition><Document/><Node id=\"1\"/><Bus name=\"Motor\">\n" +
                       content + "\n</Bus></NetworkDefinition>\n");
    }

    // The content of a message of eight bytes begins on line 4.
    static Database readMessage(std::string const& content) {
        return readBus("<Message id=\"0x64\" name=\"Engine\" length=\"8\">\n" + content + "\n</Message>");
    }

    static SignalDefinition readSignal(std::string const& signal) {
        Database const database = readMessage(signal);
        EXPECT_EQ("", problemsOf(database)) << signal;
        if (database.messages.size() != 1 || database.messages[0].signals.size() != 1) {
            ADD_FAILURE() << signal;
            return {};
        }
        return database.messages[0].signals[0];
    }
};

} // namespace

TEST_F(KcdReader, messageHasAllItsFields) {
    Database const database = readBus("<Message id=\"0x123\" name=\"Engine Data\" length=\"6\" interval=\"20\"/>\n"
                                      "<Message id=\"0x18FEF1FE\" name=\"Truck\" format=\"extended\" length=\"64\"/>");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(1U, database.channels.size());
    EXPECT_EQ("Motor", database.channels[0].name);
    ASSERT_EQ(2U, database.messages.size());
    MessageDefinition const& standard = database.messages[0];
    EXPECT_EQ(Bus::Can, standard.bus);
    EXPECT_EQ(0x123U, standard.address);
    EXPECT_FALSE(standard.extended);
    EXPECT_EQ("Engine Data", standard.name);
    EXPECT_EQ(6U, standard.length);
    EXPECT_EQ(0.02, standard.cycleTime);
    EXPECT_EQ(3U, standard.line);
    MessageDefinition const& extended = database.messages[1];
    EXPECT_EQ(0x18FEF1FEU, extended.address);
    EXPECT_TRUE(extended.extended);
    EXPECT_EQ(64U, extended.length);
    EXPECT_EQ(0.0, extended.cycleTime);
    EXPECT_EQ(4U, extended.line);
}

TEST_F(KcdReader, signalHasAllItsFields) {
    SignalDefinition const signal =
        readSignal("\n<Signal name=\"Speed\" offset=\"12\" length=\"16\">\n<Notes>x</Notes>"
                   "<Consumer/><Value type=\"signed\" slope=\"0.01\" intercept=\"-40\" unit=\"km/h\" min=\"-1.5\" "
                   "max=\"655.35\"/><LabelSet><Label name=\"off\" value=\"0\"/><Label name=\"bad\" value=\"-1\" "
                   "type=\"error\"/><LabelGroup name=\"on\" from=\"3\" to=\"5\"/></LabelSet></Signal>");
    EXPECT_EQ("Speed", signal.name);
    EXPECT_EQ(5U, signal.line);
    EXPECT_EQ(NumberKind::Signed, signal.kind);
    EXPECT_EQ(12U, signal.startBit);
    EXPECT_EQ(16U, signal.bits);
    EXPECT_FALSE(signal.bigEndian);
    EXPECT_EQ(0.01, signal.factor);
    EXPECT_EQ(-40.0, signal.offset);
    EXPECT_EQ(-1.5, signal.minimum);
    EXPECT_EQ(655.35, signal.maximum);
    EXPECT_EQ("km/h", signal.unit);
    EXPECT_EQ("0=off -1=bad 3=on 4=on 5=on ", valuesOf(signal));
    EXPECT_FALSE(signal.isMultiplexor);
    EXPECT_FALSE(signal.multiplexor);
}

TEST_F(KcdReader, whatIsNotStatedHasItsDefault) {
    SignalDefinition const signal = readSignal("<Signal name=\"A\"/>");
    EXPECT_EQ(0U, signal.startBit);
    EXPECT_EQ(1U, signal.bits);
    EXPECT_FALSE(signal.bigEndian);
    EXPECT_EQ(NumberKind::Unsigned, signal.kind);
    EXPECT_EQ(1.0, signal.factor);
    EXPECT_EQ(0.0, signal.offset);
    EXPECT_EQ("", signal.unit);
    EXPECT_EQ(0.0, readSignal("<Signal name=\"A\"><Value min=\"-3\"/></Signal>").minimum);
}

// The most significant bit is counted from that of byte 0.
TEST_F(KcdReader, bigEndianSignalStartsWithItsMostSignificantBit) {
    struct {
        char const* offset;
        unsigned startBit;
    } const cases[] = {{"0", 7}, {"1", 6}, {"7", 0}, {"8", 15}, {"12", 11}, {"31", 24}};
    for (auto const& c : cases) {
        SignalDefinition const signal =
            readSignal(std::string("<Signal name=\"A\" endianess=\"big\" length=\"12\" offset=\"") + c.offset + "\"/>");
        EXPECT_EQ(c.startBit, signal.startBit);
        EXPECT_TRUE(signal.bigEndian);
    }
}

TEST_F(KcdReader, floatsHaveAllTheirBits) {
    EXPECT_EQ(NumberKind::Float, readSignal("<Signal name=\"A\" length=\"32\"><Value type=\"single\"/></Signal>").kind);
    EXPECT_EQ(NumberKind::Double,
              readSignal("<Signal name=\"A\" length=\"64\"><Value type=\"double\"/></Signal>").kind);
    Database const database = readMessage("<Signal name=\"A\" length=\"16\">\n<Value type=\"single\"/></Signal>");
    EXPECT_EQ(
        "5 error: signal 'Engine.A': a value of type 'single' has 32 bits, but the signal has 16; read as unsigned\n",
        problemsOf(database));
    EXPECT_EQ(NumberKind::Unsigned, database.messages.at(0).signals.at(0).kind);
}

TEST_F(KcdReader, lengthThatIsNotStatedIsThatOfTheSignals) {
    for (char const* length : {"", "length=\"auto\""}) {
        Database const database =
            readBus(std::string("<Message id=\"0x1\" name=\"M\" ") + length +
                    "><Signal name=\"A\" offset=\"9\" length=\"8\"/>"
                    "<Signal name=\"B\" offset=\"20\" length=\"12\" endianess=\"big\"/></Message>");
        EXPECT_EQ("", problemsOf(database));
        ASSERT_EQ(1U, database.messages.size());
        EXPECT_EQ(4U, database.messages[0].length);
    }
}

TEST_F(KcdReader, groupsAreSelectedByTheirMultiplexor) {
    Database const database = readMessage(
        "<Signal name=\"Always\"/>"
        "<Multiplex name=\"Mode\" offset=\"8\" length=\"4\"><MuxGroup count=\"0\"><Signal name=\"A\" offset=\"16\"/>"
        "<Signal name=\"B\" offset=\"17\"/></MuxGroup><MuxGroup count=\"3\"><Signal name=\"C\" offset=\"16\"/>"
        "<Signal name=\"B\" offset=\"17\"/></MuxGroup><LabelSet><Label name=\"x\" value=\"3\"/></LabelSet></Multiplex>"
        "<Multiplex name=\"Other\" offset=\"12\" length=\"4\"><MuxGroup count=\"15\"><Signal name=\"D\" "
        "offset=\"32\"/></MuxGroup></Multiplex>");
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("Always Mode* A<Mode(0-0) B<Mode(0-0,3-3) C<Mode(3-3) Other* D<Other(15-15) ",
              multiplexingOf(database.messages.at(0)));
    EXPECT_EQ("3=x ", valuesOf(database.messages[0].signals[1]));
}

TEST_F(KcdReader, busesAreChannelsOfTheirOwn) {
    Database const database = readKcd("<NetworkDefinition><Bus name=\"A\"><Message id=\"0x1\" name=\"M\"/></Bus>"
                                      "<Bus name=\"B\"><Message id=\"0x1\" name=\"M\"/></Bus></NetworkDefinition>");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(2U, database.channels.size());
    EXPECT_EQ("B", database.channels[1].name);
    ASSERT_EQ(2U, database.messages.size());
    EXPECT_EQ(0U, database.messages[0].channel);
    EXPECT_EQ(1U, database.messages[1].channel);
}

TEST_F(KcdReader, prefixesAndCharactersAreUnderstood) {
    Database const database =
        readKcd("\xEF\xBB\xBF<k:NetworkDefinition xmlns:k=\"x\">\r\n<k:Bus name=\"B\">\r\n<k:Message id=\"0x1\" "
                "name=\"&lt;&#xFC;&gt;\">\r\n<k:Signal name=\"T\"><k:Value unit=\"\xC2\xB0"
                "C\"/></k:Signal></k:Message></k:Bus></k:NetworkDefinition>");
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(1U, database.messages.size());
    EXPECT_EQ("<\xC3\xBC>", database.messages[0].name);
    EXPECT_EQ(3U, database.messages[0].line);
    EXPECT_EQ("\xC2\xB0"
              "C",
              database.messages[0].signals.at(0).unit);
}

TEST_F(KcdReader, badMessageCostsItselfAlone) {
    struct {
        char const* message;
        char const* problem;
    } const cases[] = {
        {"<Message name=\"X\"/>", "message 'X': it has no id"},
        {"<Message id=\"0x1\"/>", "message '': it has no name"},
        {"<Message id=\"0x1\" name=\"a&#10;b\"/>", "message 'a?b': its name holds control characters"},
        {"<Message id=\"1G\" name=\"X\"/>", "message 'X': id '1G' is not a whole number from 0 on"},
        {"<Message id=\"0x20000000\" name=\"X\" format=\"extended\"/>", "message 'X': its id has more than 29 bits"},
        {"<Message id=\"0x1\" name=\"X\" length=\"9999\"/>", "message 'X': it has 9999 bytes"},
        {"<Message id=\"0x1\" name=\"X\" interval=\"soon\"/>", "message 'X': interval 'soon' is not a number"},
        {"<Message id=\"0x1\" name=\"A\"/>", "message 'A': duplicate message name, first defined on line 3"},
        {"<Massage id=\"0x1\" name=\"X\"/>", "unknown element 'Massage' in 'Bus'"},
    };
    for (auto const& c : cases) {
        Database const database = readBus(std::string("<Message id=\"0x64\" name=\"A\"/>\n") + c.message +
                                          "\n<Message id=\"0x65\" name=\"B\"/>");
        EXPECT_EQ(std::string("4 error: ") + c.problem + "; left out\n", problemsOf(database));
        EXPECT_EQ("A: ; B: ; ", namesOf(database)) << c.message;
    }
}

TEST_F(KcdReader, badSignalCostsItselfAlone) {
    struct {
        char const* signal;
        char const* problem;
    } const cases[] = {
        {"<Signal offset=\"0\"/>", "signal 'Engine.': it has no name"},
        {"<Signal name=\"X\" length=\"65\"/>", "signal 'Engine.X': it has 65 bits, but a signal has 1 to 64"},
        {"<Signal name=\"X\" length=\"0\"/>", "signal 'Engine.X': it has 0 bits, but a signal has 1 to 64"},
        {"<Signal name=\"X\" offset=\"99999\"/>", "signal 'Engine.X': its offset 99999 is beyond any payload"},
        {"<Signal name=\"X\" offset=\"-1\"/>", "signal 'Engine.X': offset '-1' is not a whole number from 0 on"},
        {"<Signal name=\"X\" endianess=\"middle\"/>",
         "signal 'Engine.X': endianess 'middle' is neither 'big' nor 'little'"},
        {"<Signal name=\"X\"><Value slope=\"steep\"/></Signal>", "signal 'Engine.X': slope 'steep' is not a number"},
        {"<Signal name=\"X\"><Value intercept=\"1e999\"/></Signal>",
         "signal 'Engine.X': intercept '1e999' is beyond the range of a double"},
        {"<Signal name=\"A\"/>", "signal 'Engine.A': duplicate signal name, first defined on line 4"},
        {"<Multiplex name=\"X\"><MuxGroup><Signal name=\"Y\"/></MuxGroup></Multiplex>",
         "a group of 'X' in message 'Engine': it has no count"},
    };
    for (auto const& c : cases) {
        Database const database =
            readMessage(std::string("<Signal name=\"A\"/>\n") + c.signal + "\n<Signal name=\"B\" offset=\"1\"/>");
        EXPECT_EQ(std::string("5 error: ") + c.problem + "; left out\n", problemsOf(database));
        std::string const group = std::string(c.signal).find("MuxGroup") == std::string::npos ? "" : "X ";
        EXPECT_EQ("Engine: A " + group + "B ; ", namesOf(database)) << c.signal;
    }
}

TEST_F(KcdReader, groupsOfAMultiplexorThatIsLeftOutAreLeftOut) {
    Database const database = readMessage("<Multiplex name=\"M\" length=\"99\">\n<MuxGroup count=\"1\"><Signal "
                                          "name=\"A\"/></MuxGroup></Multiplex><Signal name=\"B\"/>");
    EXPECT_EQ("4 error: signal 'Engine.M': it has 99 bits, but a signal has 1 to 64; left out\n"
              "5 error: a group of 'M' in message 'Engine': its multiplexor is left out; left out\n",
              problemsOf(database));
    EXPECT_EQ("Engine: B ; ", namesOf(database));
}

TEST_F(KcdReader, badLabelCostsItselfAlone) {
    struct {
        char const* label;
        char const* problem;
    } const cases[] = {
        {"<Label name=\"x\"/>", "Label 'x': it has no value"},
        {"<Label name=\"x\" value=\"y\"/>", "Label 'x': value 'y' is not a whole number from 0 on"},
        {"<LabelGroup name=\"x\" from=\"1\"/>", "LabelGroup 'x': it has no range"},
        {"<LabelGroup name=\"x\" from=\"2\" to=\"1\"/>", "LabelGroup 'x': its range runs backwards"},
        {"<LabelGroup name=\"x\" from=\"0\" to=\"18446744073709551615\"/>",
         "LabelGroup 'x': it names more than 1024 values"},
    };
    for (auto const& c : cases) {
        Database const database =
            readMessage(std::string("<Signal name=\"A\"><LabelSet><Label name=\"a\" value=\"1\"/>\n") + c.label +
                        "\n<Label name=\"b\" value=\"18446744073709551615\"/></LabelSet></Signal>");
        EXPECT_EQ(std::string("5 error: signal 'Engine.A': ") + c.problem + "; left out\n", problemsOf(database));
        EXPECT_EQ("1=a -1=b ", valuesOf(database.messages.at(0).signals.at(0)));
    }
}

TEST_F(KcdReader, oddMessagesAreKeptWithAWarning) {
    EXPECT_EQ("3 warning: message 'M': its id has more than 11 bits, but its format is standard; read as extended\n",
              problemsOf(readBus("<Message id=\"0x800\" name=\"M\"/>")));
    EXPECT_EQ("4 warning: message 'N': another message of this bus has the same id; both are kept\n",
              problemsOf(readBus("<Message id=\"0x1\" name=\"M\"/>\n<Message id=\"0x1\" name=\"N\"/>")));
    EXPECT_EQ("4 warning: signal 'Engine.A': it reaches beyond the 8 bytes of the message\n",
              problemsOf(readMessage("<Signal name=\"A\" offset=\"64\"/>")));
}

TEST_F(KcdReader, whatPrecedesAnErrorOfTheXmlIsRead) {
    Database const database =
        readBus("<Message id=\"0x1\" name=\"M\"><Signal name=\"A\"/></Message>\n<Message id=\"0x2\" "
                "name=\"N\">\n</Signal>");
    EXPECT_EQ("5 error: the XML is not well-formed (Start-end tags mismatch); the rest of the file is left out\n",
              problemsOf(database));
    EXPECT_EQ("M: A ; N: ; ", namesOf(database));
}

TEST_F(KcdReader, nameAtTheEndOfTheFileIsWhole) {
    Database const database = readKcd("<NetworkDefinition><Bus><\xC3\xBF\xC3\xBF");
    EXPECT_EQ(
        "1 error: the XML is not well-formed (Error parsing start element tag); the rest of the file is left out\n"
        "1 error: unknown element '\xC3\xBF\xC3\xBF' in 'Bus'; left out\n",
        problemsOf(database));
}

TEST_F(KcdReader, entitiesAndDepthDoNoHarm) {
    std::string bomb = "<!DOCTYPE b [<!ENTITY a0 \"ha\">";
    for (int i = 1; i < 40; ++i)
        bomb +=
            "<!ENTITY a" + std::to_string(i) + " \"&a" + std::to_string(i - 1) + ";&a" + std::to_string(i - 1) + ";\">";
    bomb += "]>\n<NetworkDefinition><Bus name=\"B\"><Message id=\"0x1\" name=\"&a39;\"/></Bus></NetworkDefinition>";
    Database const database = readKcd(bomb);
    EXPECT_EQ("&a39;: ; ", namesOf(database));
    std::string deep = "<NetworkDefinition>";
    for (int i = 0; i < 200000; ++i)
        deep += "<Bus>";
    expectRanges(readKcd, deep);
    for (int i = 0; i < 200000; ++i)
        deep += "</Bus>";
    expectRanges(readKcd, deep + "</NetworkDefinition>");
}

TEST_F(KcdReader, damagedFileStaysInItsRanges) {
    std::string const file =
        "<?xml version=\"1.0\"?>\n<NetworkDefinition xmlns=\"x\">\n<Bus name=\"B\">\n"
        "<Message id=\"0x64\" name=\"M\" length=\"8\" interval=\"10\">\n"
        "<Multiplex name=\"S\" offset=\"0\" length=\"2\"><MuxGroup count=\"1\"><Signal name=\"A\" offset=\"8\" "
        "length=\"32\"><Value type=\"single\" slope=\"0.5\" min=\"0\" max=\"9\"/></Signal></MuxGroup></Multiplex>\n"
        "<Signal name=\"T\" offset=\"48\" length=\"12\" endianess=\"big\"><LabelSet><Label name=\"l\" value=\"1\"/>"
        "<LabelGroup name=\"g\" from=\"2\" to=\"4\"/></LabelSet></Signal>\n</Message>\n</Bus>\n</NetworkDefinition>\n";
    EXPECT_EQ("", problemsOf(readKcd(file)));
    EXPECT_EQ("M: S A T ; ", namesOf(readKcd(file)));
    expectRangesWhateverDamage(readKcd, file, "<>/\"'=&;#x-.0129 \n\x80");
}

TEST_F(KcdReader, hostileFilesTakeLinearTime) {
    std::string const start = "<NetworkDefinition><Bus><Message id=\"0x1\" name=\"M\">";
    for (char const* pattern :
         {"<Signal name=\"A\"/>", "<Signal>", "<x", "<!--", "&lt;", "<Multiplex name=\"M\"><MuxGroup>", "<Notes/>\n"})
        expectLinearTime(readKcd, start, pattern);
    expectLinearTime(readKcd, "<NetworkDefinition><Bus>", "<Message id=\"0x1\" name=\"M\"/>");
}

} // namespace qztool
