// What is read from FIBEX files, and what is reported of those that are wrong.
#include "tools/definitions/fibex/FibexReader.h"
#include "tests/tools/definitions/Damage.h"
#include "tests/tools/definitions/XmlFormat.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qztool {

namespace {

// The parts of a file that its tests change; each is the content of one section.
struct File {
    std::string cluster = "<fx:BIT-COUNTING-POLICY>SAWTOOTH</fx:BIT-COUNTING-POLICY><fx:PROTOCOL>CAN</fx:PROTOCOL>";
    std::string triggerings =
        "<fx:FRAME-TRIGGERING ID=\"T1\"><fx:IDENTIFIER><fx:IDENTIFIER-VALUE>256</fx:IDENTIFIER-VALUE>"
        "</fx:IDENTIFIER><fx:FRAME-REF ID-REF=\"F1\"/></fx:FRAME-TRIGGERING>";
    std::string frame =
        "<fx:PDU-INSTANCES><fx:PDU-INSTANCE><fx:PDU-REF ID-REF=\"P1\"/><fx:BIT-POSITION>0</fx:BIT-POSITION>"
        "</fx:PDU-INSTANCE></fx:PDU-INSTANCES>";
    std::string pdu = "<fx:SIGNAL-INSTANCES><fx:SIGNAL-INSTANCE><fx:BIT-POSITION>4</fx:BIT-POSITION>"
                      "<fx:IS-HIGH-LOW-BYTE-ORDER>false</fx:IS-HIGH-LOW-BYTE-ORDER><fx:SIGNAL-REF ID-REF=\"S1\"/>"
                      "</fx:SIGNAL-INSTANCE></fx:SIGNAL-INSTANCES>";
    std::string pdus = "";
    std::string codedType =
        "<ho:CODED-TYPE ho:BASE-DATA-TYPE=\"A_UINT16\"><ho:BIT-LENGTH>12</ho:BIT-LENGTH></ho:CODED-TYPE>";
    std::string method = "";

    std::string text() const {
        return "<?xml version=\"1.0\"?>\n<fx:FIBEX VERSION=\"4.1\"><fx:ELEMENTS>\n"
               "<fx:CLUSTERS><fx:CLUSTER ID=\"C1\"><ho:SHORT-NAME>Net</ho:SHORT-NAME>" +
               cluster +
               "<fx:CHANNEL-REFS><fx:CHANNEL-REF ID-REF=\"CH1\"/><fx:CHANNEL-REF ID-REF=\"CH2\"/></fx:CHANNEL-REFS>"
               "</fx:CLUSTER></fx:CLUSTERS>\n" // line 3
               "<fx:CHANNELS><fx:CHANNEL ID=\"CH1\"><ho:SHORT-NAME>Bus</ho:SHORT-NAME>"
               "<fx:FLEXRAY-CHANNEL-NAME>A</fx:FLEXRAY-CHANNEL-NAME><fx:FRAME-TRIGGERINGS>\n" +
               triggerings + // line 5
               "</fx:FRAME-TRIGGERINGS></fx:CHANNEL></fx:CHANNELS>\n"
               "<fx:FRAMES>\n<fx:FRAME ID=\"F1\"><ho:SHORT-NAME>Engine</ho:SHORT-NAME>" // line 7
               "<fx:BYTE-LENGTH>8</fx:BYTE-LENGTH>\n" +
               frame + "</fx:FRAME></fx:FRAMES>\n<fx:PDUS><fx:PDU ID=\"P1\"><ho:SHORT-NAME>Pdu</ho:SHORT-NAME>\n" +
               pdu + "</fx:PDU>" + pdus + // line 10
               "</fx:PDUS>\n<fx:SIGNALS>"
               "<fx:SIGNAL ID=\"S1\"><ho:SHORT-NAME>Speed</ho:SHORT-NAME><fx:CODING-REF ID-REF=\"D1\"/></fx:SIGNAL>"
               "<fx:SIGNAL ID=\"S2\"><ho:SHORT-NAME>Load</ho:SHORT-NAME><fx:CODING-REF ID-REF=\"D1\"/></fx:SIGNAL>"
               "</fx:SIGNALS></fx:ELEMENTS>\n<fx:PROCESSING-INFORMATION><ho:UNIT-SPEC><ho:UNITS><ho:UNIT ID=\"U1\">"
               "<ho:SHORT-NAME>kmh</ho:SHORT-NAME><ho:DISPLAY-NAME>km/h</ho:DISPLAY-NAME></ho:UNIT></ho:UNITS></"
               "ho:UNIT-SPEC>"
               "<fx:CODINGS>\n<fx:CODING ID=\"D1\"><ho:SHORT-NAME>Code</ho:SHORT-NAME>\n" + // line 13
               codedType +
               "\n<ho:COMPU-METHODS><ho:COMPU-METHOD>\n" + // line 15
               method +
               "</ho:COMPU-METHOD></ho:COMPU-METHODS></fx:CODING></fx:CODINGS></fx:PROCESSING-INFORMATION></"
               "fx:FIBEX>\n";
    }
};

std::string scales(std::string const& content) {
    return "<ho:COMPU-INTERNAL-TO-PHYS><ho:COMPU-SCALES>" + content + "</ho:COMPU-SCALES></ho:COMPU-INTERNAL-TO-PHYS>";
}

std::string rational(std::string const& numerator, std::string const& denominator) {
    return "<ho:COMPU-RATIONAL-COEFFS><ho:COMPU-NUMERATOR>" + numerator +
           "</ho:COMPU-NUMERATOR><ho:COMPU-DENOMINATOR>" + denominator +
           "</ho:COMPU-DENOMINATOR></ho:COMPU-RATIONAL-COEFFS>";
}

std::string instance(std::string const& signal, unsigned position, bool bigEndian = false) {
    return "<fx:SIGNAL-INSTANCE><fx:BIT-POSITION>" + std::to_string(position) +
           "</fx:BIT-POSITION><fx:IS-HIGH-LOW-BYTE-ORDER>" + (bigEndian ? "true" : "false") +
           "</fx:IS-HIGH-LOW-BYTE-ORDER><fx:SIGNAL-REF ID-REF=\"" + signal + "\"/></fx:SIGNAL-INSTANCE>";
}

std::string instances(std::string const& content) {
    return "<fx:SIGNAL-INSTANCES>" + content + "</fx:SIGNAL-INSTANCES>";
}

std::string pduInstance(std::string const& pdu, unsigned position) {
    return "<fx:PDU-INSTANCE><fx:PDU-REF ID-REF=\"" + pdu + "\"/><fx:BIT-POSITION>" + std::to_string(position) +
           "</fx:BIT-POSITION></fx:PDU-INSTANCE>";
}

std::string segment(unsigned position, unsigned bits, bool bigEndian = false) {
    return "<fx:SEGMENT-POSITION><fx:BIT-POSITION>" + std::to_string(position) +
           "</fx:BIT-POSITION><fx:IS-HIGH-LOW-BYTE-ORDER>" + (bigEndian ? "true" : "false") +
           "</fx:IS-HIGH-LOW-BYTE-ORDER><ho:BIT-LENGTH>" + std::to_string(bits) +
           "</ho:BIT-LENGTH></fx:SEGMENT-POSITION>";
}

std::string switched(std::string const& pdu, std::string const& code) {
    return "<fx:SWITCHED-PDU-INSTANCE><fx:PDU-REF ID-REF=\"" + pdu + "\"/><fx:SWITCH-CODE>" + code +
           "</fx:SWITCH-CODE></fx:SWITCHED-PDU-INSTANCE>";
}

constexpr char const* eightBitSwitch =
    "<fx:SWITCH ID=\"W1\"><ho:SHORT-NAME>Mode</ho:SHORT-NAME><fx:BIT-POSITION>0</fx:BIT-POSITION>"
    "<fx:IS-HIGH-LOW-BYTE-ORDER>false</fx:IS-HIGH-LOW-BYTE-ORDER><ho:BIT-LENGTH>8</ho:BIT-LENGTH></fx:SWITCH>";

std::string furtherPdu(std::string const& id, std::string const& content) {
    return "<fx:PDU ID=\"" + id + "\"><ho:SHORT-NAME>" + id + "</ho:SHORT-NAME>" + content + "</fx:PDU>";
}

class FibexReader : public XmlFormat {
protected:
    static SignalDefinition signalOf(Database const& database) {
        if (database.messages.size() != 1 || database.messages[0].signals.size() != 1) {
            ADD_FAILURE() << namesOf(database) << problemsOf(database);
            return {};
        }
        return database.messages[0].signals[0];
    }

    static SignalDefinition readSignal(File const& file) {
        Database const database = readFibex(file.text());
        EXPECT_EQ("", problemsOf(database));
        return signalOf(database);
    }
};

File flexRay(std::string const& timings) {
    File file;
    file.cluster =
        "<fx:PROTOCOL xsi:type=\"flexray:PROTOCOL-TYPE\">FlexRay</fx:PROTOCOL><flexray:CYCLE>5000</flexray:CYCLE>"
        "<flexray:NUMBER-OF-STATIC-SLOTS>60</flexray:NUMBER-OF-STATIC-SLOTS>";
    file.triggerings = "<fx:FRAME-TRIGGERING ID=\"T1\"><fx:TIMINGS>\n" + timings +
                       "</fx:TIMINGS><fx:FRAME-REF ID-REF=\"F1\"/></fx:FRAME-TRIGGERING>";
    return file;
}

std::string timing(std::string const& slot, std::string const& base, std::string const& repetition) {
    return "<fx:ABSOLUTELY-SCHEDULED-TIMING><fx:SLOT-ID>" + slot + "</fx:SLOT-ID><fx:BASE-CYCLE>" + base +
           "</fx:BASE-CYCLE><fx:CYCLE-REPETITION>" + repetition +
           "</fx:CYCLE-REPETITION></fx:ABSOLUTELY-SCHEDULED-TIMING>";
}

} // namespace

TEST_F(FibexReader, frameAndSignalHaveAllTheirFields) {
    File file;
    file.method = "<ho:UNIT-REF ID-REF=\"U1\"/>" +
                  scales("<ho:COMPU-SCALE><ho:LOWER-LIMIT>0</ho:LOWER-LIMIT><ho:UPPER-LIMIT>4000</ho:UPPER-LIMIT>" +
                         rational("<ho:V>-20</ho:V><ho:V>0.5</ho:V>", "<ho:V>2</ho:V>") + "</ho:COMPU-SCALE>");
    Database const database = readFibex(file.text());
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(1U, database.channels.size());
    EXPECT_EQ("Bus", database.channels[0].name);
    ASSERT_EQ(1U, database.messages.size());
    MessageDefinition const& message = database.messages[0];
    EXPECT_EQ(Bus::Can, message.bus);
    EXPECT_EQ(256U, message.address);
    EXPECT_FALSE(message.extended);
    EXPECT_EQ("Engine", message.name);
    EXPECT_EQ(8U, message.length);
    EXPECT_EQ(7U, message.line);
    SignalDefinition const signal = signalOf(database);
    EXPECT_EQ("Speed", signal.name);
    EXPECT_EQ("Pdu", signal.pdu);
    EXPECT_EQ(10U, signal.line);
    EXPECT_EQ(4U, signal.startBit);
    EXPECT_EQ(12U, signal.bits);
    EXPECT_FALSE(signal.bigEndian);
    EXPECT_EQ(NumberKind::Unsigned, signal.kind);
    EXPECT_EQ(0.25, signal.factor);
    EXPECT_EQ(-10.0, signal.offset);
    EXPECT_EQ(-10.0, signal.minimum);
    EXPECT_EQ(990.0, signal.maximum);
    EXPECT_EQ("km/h", signal.unit);
}

TEST_F(FibexReader, extendedIdentifiersAreToldByTheirAttribute) {
    File file;
    file.triggerings =
        "<fx:FRAME-TRIGGERING ID=\"T1\"><fx:IDENTIFIER><fx:IDENTIFIER-VALUE EXTENDED-ADDRESSING=\"true\">5"
        "</fx:IDENTIFIER-VALUE></fx:IDENTIFIER><fx:FRAME-REF ID-REF=\"F1\"/></fx:FRAME-TRIGGERING>";
    EXPECT_TRUE(readFibex(file.text()).messages.at(0).extended);
    file.triggerings = "<fx:FRAME-TRIGGERING ID=\"T1\"><fx:IDENTIFIER><fx:IDENTIFIER-VALUE>2048</fx:IDENTIFIER-VALUE>"
                       "</fx:IDENTIFIER><fx:FRAME-REF ID-REF=\"F1\"/></fx:FRAME-TRIGGERING>";
    Database const database = readFibex(file.text());
    EXPECT_EQ(
        "5 warning: frame triggering 'T1': its identifier has more than 11 bits, but no EXTENDED-ADDRESSING; read as "
        "extended\n",
        problemsOf(database));
    EXPECT_TRUE(database.messages.at(0).extended);
}

// Both ways of counting place the most significant bit of a big endian signal.
TEST_F(FibexReader, bitPositionsMapToStartBits) {
    struct {
        char const* counting;
        bool bigEndian;
        unsigned position;
        unsigned startBit;
    } const cases[] = {
        {"SAWTOOTH", false, 0, 0},   {"SAWTOOTH", false, 13, 13}, {"MONOTONE", false, 0, 0},
        {"MONOTONE", false, 13, 13}, {"SAWTOOTH", true, 7, 7},    {"SAWTOOTH", true, 3, 3},
        {"SAWTOOTH", true, 15, 15},  {"SAWTOOTH", true, 8, 8},    {"MONOTONE", true, 0, 7},
        {"MONOTONE", true, 4, 3},    {"MONOTONE", true, 8, 15},   {"MONOTONE", true, 15, 8},
        {"MONOTONE", true, 19, 20},
    };
    for (auto const& c : cases) {
        File file;
        file.cluster = std::string("<fx:BIT-COUNTING-POLICY>") + c.counting +
                       "</fx:BIT-COUNTING-POLICY><fx:PROTOCOL>CAN</fx:PROTOCOL>";
        file.pdu = instances(instance("S1", c.position, c.bigEndian));
        SignalDefinition const signal = readSignal(file);
        EXPECT_EQ(c.startBit, signal.startBit) << c.counting << c.position;
        EXPECT_EQ(c.bigEndian, signal.bigEndian);
        EXPECT_TRUE(liesWithin(signal, 64));
    }
}

TEST_F(FibexReader, pdusAreAtTheirPlaceInTheFrame) {
    File file;
    file.pdu = instances(instance("S1", 7, true));
    file.pdus = furtherPdu("P2", instances(instance("S1", 4)));
    file.frame = "<fx:PDU-INSTANCES>" + pduInstance("P1", 16) + pduInstance("P2", 32) + pduInstance("P1", 48) +
                 "</fx:PDU-INSTANCES>";
    Database const database = readFibex(file.text());
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(3U, database.messages.at(0).signals.size());
    std::vector<SignalDefinition> const& signals = database.messages[0].signals;
    EXPECT_EQ("Pdu", signals[0].pdu);
    EXPECT_EQ(23U, signals[0].startBit);
    EXPECT_EQ("P2", signals[1].pdu);
    EXPECT_EQ(36U, signals[1].startBit);
    EXPECT_EQ("Pdu_2", signals[2].pdu);
    EXPECT_EQ(55U, signals[2].startBit);
}

// As before FIBEX 3.
TEST_F(FibexReader, framesMayHoldTheirSignalsThemselves) {
    File file;
    file.frame = instances(instance("S1", 16) + instance("S2", 32));
    Database const database = readFibex(file.text());
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("Engine: Speed Load ; ", namesOf(database));
    EXPECT_EQ("", database.messages[0].signals[0].pdu);
    EXPECT_EQ(16U, database.messages[0].signals[0].startBit);
}

TEST_F(FibexReader, typesAreThoseOfTheCoding) {
    struct {
        char const* type;
        NumberKind kind;
        unsigned bits;
    } const cases[] = {
        {"ho:BASE-DATA-TYPE=\"A_INT16\"><ho:BIT-LENGTH>12</ho:BIT-LENGTH>", NumberKind::Signed, 12},
        {"ho:BASE-DATA-TYPE=\"A_UINT8\">", NumberKind::Unsigned, 8},
        {"BASE-DATA-TYPE=\"A_INT32\">", NumberKind::Signed, 32},
        {"ho:BASE-DATA-TYPE=\"A_FLOAT32\">", NumberKind::Float, 32},
        {"ho:BASE-DATA-TYPE=\"A_FLOAT64\"><ho:BIT-LENGTH>64</ho:BIT-LENGTH>", NumberKind::Double, 64},
        {"ENCODING=\"SIGNED\"><ho:BIT-LENGTH>3</ho:BIT-LENGTH>", NumberKind::Signed, 3},
        {"><ho:BIT-LENGTH>1</ho:BIT-LENGTH>", NumberKind::Unsigned, 1},
    };
    for (auto const& c : cases) {
        File file;
        file.frame = instances(instance("S1", 0));
        file.codedType = std::string("<ho:CODED-TYPE ") + c.type + "</ho:CODED-TYPE>";
        SignalDefinition const signal = readSignal(file);
        EXPECT_EQ(c.kind, signal.kind) << c.type;
        EXPECT_EQ(c.bits, signal.bits) << c.type;
    }
}

TEST_F(FibexReader, textTablesAreWords) {
    File file;
    file.method =
        scales("<ho:COMPU-SCALE><ho:LOWER-LIMIT>0</ho:LOWER-LIMIT><ho:UPPER-LIMIT>0</ho:UPPER-LIMIT><ho:COMPU-CONST>"
               "<ho:VT>off</ho:VT></ho:COMPU-CONST></ho:COMPU-SCALE>"
               "<ho:COMPU-SCALE><ho:LOWER-LIMIT>2.0</ho:LOWER-LIMIT><ho:UPPER-LIMIT INTERVAL-TYPE=\"OPEN\">5"
               "</ho:UPPER-LIMIT><ho:COMPU-CONST><ho:VT>on</ho:VT></ho:COMPU-CONST></ho:COMPU-SCALE>"
               "<ho:COMPU-SCALE><ho:LOWER-LIMIT>-1</ho:LOWER-LIMIT><ho:COMPU-CONST><ho:VT>bad</ho:VT>"
               "</ho:COMPU-CONST></ho:COMPU-SCALE>");
    EXPECT_EQ("0=off 2=on 3=on 4=on -1=bad ", valuesOf(readSignal(file)));
}

TEST_F(FibexReader, inverseScalingIsTurnedRound) {
    File file;
    file.method = "<ho:COMPU-PHYS-TO-INTERNAL><ho:COMPU-SCALES><ho:COMPU-SCALE><ho:LOWER-LIMIT>-10</ho:LOWER-LIMIT>"
                  "<ho:UPPER-LIMIT>90</ho:UPPER-LIMIT>" +
                  rational("<ho:V>20</ho:V><ho:V>2</ho:V>", "<ho:V>1</ho:V>") +
                  "</ho:COMPU-SCALE></ho:COMPU-SCALES></ho:COMPU-PHYS-TO-INTERNAL>";
    SignalDefinition const signal = readSignal(file);
    EXPECT_EQ(0.5, signal.factor);
    EXPECT_EQ(-10.0, signal.offset);
    EXPECT_EQ(-10.0, signal.minimum);
    EXPECT_EQ(90.0, signal.maximum);
}

TEST_F(FibexReader, unitsAreCalledAsTheyAreDisplayed) {
    struct {
        char const* names;
        char const* unit;
    } const cases[] = {
        {"<ho:SHORT-NAME>kmh</ho:SHORT-NAME><ho:DISPLAY-NAME>m/s</ho:DISPLAY-NAME>", "m/s"},
        {"<ho:SHORT-NAME>none</ho:SHORT-NAME><ho:DISPLAY-NAME></ho:DISPLAY-NAME>", ""},
        {"<ho:SHORT-NAME>V</ho:SHORT-NAME>", "V"},
    };
    for (auto const& c : cases) {
        File file;
        file.method = "<ho:UNIT-REF ID-REF=\"U2\"/>";
        std::string text = file.text();
        std::string const units = "<ho:UNITS>";
        text.insert(text.find(units) + units.size(), std::string("<ho:UNIT ID=\"U2\">") + c.names + "</ho:UNIT>");
        Database const database = readFibex(text);
        EXPECT_EQ("", problemsOf(database));
        EXPECT_EQ(c.unit, signalOf(database).unit);
    }
}

TEST_F(FibexReader, physicalLimitsComeFirst) {
    File file;
    file.method =
        "<ho:PHYS-CONSTRS><ho:LOWER-LIMIT>1</ho:LOWER-LIMIT><ho:UPPER-LIMIT>2</ho:UPPER-LIMIT></ho:PHYS-CONSTRS>" +
        scales("<ho:COMPU-SCALE><ho:LOWER-LIMIT>0</ho:LOWER-LIMIT><ho:UPPER-LIMIT>4000</ho:UPPER-LIMIT>" +
               rational("<ho:V>0</ho:V><ho:V>1</ho:V>", "<ho:V>1</ho:V>") + "</ho:COMPU-SCALE>");
    EXPECT_EQ(1.0, readSignal(file).minimum);
    EXPECT_EQ(2.0, readSignal(file).maximum);
}

TEST_F(FibexReader, whatIsNotLinearIsLeftOutAndTheSignalReadRaw) {
    struct {
        char const* numerator;
        char const* denominator;
    } const cases[] = {
        {"<ho:V>0</ho:V><ho:V>1</ho:V><ho:V>3</ho:V>", "<ho:V>1</ho:V>"},
        {"<ho:V>0</ho:V><ho:V>1</ho:V>", "<ho:V>1</ho:V><ho:V>2</ho:V>"},
        {"<ho:V>5</ho:V>", "<ho:V>1</ho:V>"},
        {"<ho:V>0</ho:V><ho:V>1</ho:V>", "<ho:V>0</ho:V>"},
        {"<ho:V>0</ho:V><ho:V>x</ho:V>", "<ho:V>1</ho:V>"},
    };
    for (auto const& c : cases) {
        File file;
        file.method = scales("<ho:COMPU-SCALE>" + rational(c.numerator, c.denominator) + "</ho:COMPU-SCALE>");
        Database const database = readFibex(file.text());
        EXPECT_EQ("16 error: coding 'Code': its scaling is not linear; left out\n", problemsOf(database))
            << c.numerator;
        EXPECT_EQ(1.0, signalOf(database).factor);
        EXPECT_EQ(0.0, signalOf(database).offset);
    }
    File file;
    std::string const zeros = rational("<ho:V>3</ho:V><ho:V>2</ho:V><ho:V>0</ho:V>", "<ho:V>1</ho:V><ho:V>0.0</ho:V>");
    file.method = scales("<ho:COMPU-SCALE>" + zeros + "</ho:COMPU-SCALE>");
    EXPECT_EQ(2.0, readSignal(file).factor);
    file.method = scales("<ho:COMPU-SCALE>" + zeros + "</ho:COMPU-SCALE>\n<ho:COMPU-SCALE>" +
                         rational("<ho:V>0</ho:V><ho:V>2</ho:V>", "<ho:V>1</ho:V>") + "</ho:COMPU-SCALE>");
    EXPECT_EQ("17 error: coding 'Code': a range is scaled differently from the first one; left out\n",
              problemsOf(readFibex(file.text())));
    file.method = "<ho:CATEGORY>FORMULA</ho:CATEGORY>";
    EXPECT_EQ("15 error: coding 'Code': computation of category 'FORMULA' is not applied; left out\n",
              problemsOf(readFibex(file.text())));
}

TEST_F(FibexReader, multiplexedPdusAreSelectedBySwitchCodes) {
    File file;
    file.pdu = std::string("<fx:MULTIPLEXER>") + eightBitSwitch + "<fx:DYNAMIC-PART><fx:SEGMENT-POSITIONS>" +
               segment(16, 48) + "</fx:SEGMENT-POSITIONS><fx:SWITCHED-PDU-INSTANCES>" + switched("P2", "0") +
               switched("P3", "7") + switched("P2", "9") +
               "</fx:SWITCHED-PDU-INSTANCES></fx:DYNAMIC-PART><fx:STATIC-PART><fx:SEGMENT-POSITIONS>" + segment(8, 8) +
               "</fx:SEGMENT-POSITIONS><fx:STATIC-PDU-INSTANCE><fx:PDU-REF ID-REF=\"P4\"/></fx:STATIC-PDU-INSTANCE>"
               "</fx:STATIC-PART></fx:MULTIPLEXER>";
    file.codedType = "<ho:CODED-TYPE><ho:BIT-LENGTH>6</ho:BIT-LENGTH></ho:CODED-TYPE>";
    file.pdus = furtherPdu("P2", instances(instance("S1", 0) + instance("S2", 15, true))) +
                furtherPdu("P3", instances(instance("S1", 8))) + furtherPdu("P4", instances(instance("S1", 2)));
    Database const database = readFibex(file.text());
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ("Mode* Speed<Mode(0-0,9-9) Load<Mode(0-0,9-9) Speed<Mode(7-7) Speed ",
              multiplexingOf(database.messages.at(0)));
    std::vector<SignalDefinition> const& signals = database.messages[0].signals;
    EXPECT_EQ(16U, signals[1].startBit);
    EXPECT_EQ(31U, signals[2].startBit);
    EXPECT_TRUE(signals[2].bigEndian);
    EXPECT_EQ(24U, signals[3].startBit);
    EXPECT_EQ("P3", signals[3].pdu);
    EXPECT_EQ(10U, signals[4].startBit);
    EXPECT_EQ("P4", signals[4].pdu);
}

TEST_F(FibexReader, segmentsFollowOneAnother) {
    File file;
    file.pdu = std::string("<fx:MULTIPLEXER>") + eightBitSwitch + "<fx:DYNAMIC-PART><fx:SEGMENT-POSITIONS>" +
               segment(12, 4) + segment(39, 16, true) + "</fx:SEGMENT-POSITIONS><fx:SWITCHED-PDU-INSTANCES>" +
               switched("P2", "1") + "</fx:SWITCHED-PDU-INSTANCES></fx:DYNAMIC-PART></fx:MULTIPLEXER>";
    file.codedType = "<ho:CODED-TYPE><ho:BIT-LENGTH>3</ho:BIT-LENGTH></ho:CODED-TYPE>";
    file.pdus = furtherPdu("P2", instances(instance("S1", 1) + "\n" + instance("S2", 6)));
    Database const database = readFibex(file.text());
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(3U, database.messages.at(0).signals.size());
    EXPECT_EQ(13U, database.messages[0].signals[1].startBit);
    EXPECT_EQ(34U, database.messages[0].signals[2].startBit);
    file.pdus = furtherPdu("P2", instances(instance("S1", 1) + "\n" + instance("S2", 3)));
    EXPECT_EQ("11 error: frame 'Engine', SIGNAL-INSTANCE 'S2': it is in none of the segments as a whole; left out\n",
              problemsOf(readFibex(file.text())));
    file.pdus = furtherPdu("P2", instances(instance("S1", 1) + "\n" + instance("S2", 7, true)));
    EXPECT_EQ(
        "11 error: frame 'Engine', SIGNAL-INSTANCE 'S2': it is big endian in a segment that does not begin with a "
        "byte; left out\n",
        problemsOf(readFibex(file.text())));
}

TEST_F(FibexReader, multiplexingWithinMultiplexingIsLeftOut) {
    File file;
    file.pdu = std::string("<fx:MULTIPLEXER>") + eightBitSwitch +
               "<fx:STATIC-PART><fx:PDU-REF ID-REF=\"P1\"/></fx:STATIC-PART></fx:MULTIPLEXER>";
    Database const database = readFibex(file.text());
    EXPECT_EQ("10 error: frame 'Engine', MULTIPLEXER '': a part of a multiplexed PDU is multiplexed itself; left out\n",
              problemsOf(database));
    EXPECT_EQ("Engine: Mode ; ", namesOf(database));
}

TEST_F(FibexReader, flexRayFramesHaveSlotAndCycles) {
    Database const database = readFibex(flexRay(timing("17", "3", "8")).text());
    EXPECT_EQ("", problemsOf(database));
    ASSERT_EQ(1U, database.messages.size());
    MessageDefinition const& message = database.messages[0];
    EXPECT_EQ(Bus::FlexRay, message.bus);
    EXPECT_EQ("Net", database.channels.at(message.channel).name);
    EXPECT_EQ(17U, message.address);
    EXPECT_EQ(3U, message.flexRay.baseCycle);
    EXPECT_EQ(8U, message.flexRay.repetition);
    EXPECT_TRUE(message.flexRay.channelA);
    EXPECT_FALSE(message.flexRay.channelB);
    EXPECT_TRUE(message.flexRay.staticSegment);
    EXPECT_EQ(0.04, message.cycleTime);
    EXPECT_EQ("Speed", signalOf(database).name);
}

TEST_F(FibexReader, slotsPastTheStaticOnesAreDynamic) {
    MessageDefinition const message = readFibex(flexRay(timing("61", "0", "1")).text()).messages.at(0);
    EXPECT_FALSE(message.flexRay.staticSegment);
    EXPECT_EQ(0.0, message.cycleTime);
}

TEST_F(FibexReader, cycleCounterIsOneCycleOfAll) {
    File const file =
        flexRay("<fx:ABSOLUTELY-SCHEDULED-TIMING><fx:SLOT-ID>5</fx:SLOT-ID><fx:CYCLE-COUNTER>9</fx:CYCLE-COUNTER>"
                "</fx:ABSOLUTELY-SCHEDULED-TIMING>");
    Database const database = readFibex(file.text());
    EXPECT_EQ("", problemsOf(database));
    EXPECT_EQ(9U, database.messages.at(0).flexRay.baseCycle);
    EXPECT_EQ(64U, database.messages.at(0).flexRay.repetition);
}

TEST_F(FibexReader, bothChannelsOfAClusterAreOne) {
    std::string text = flexRay(timing("5", "0", "1")).text();
    std::string const end = "</fx:CHANNEL></fx:CHANNELS>";
    std::string const frame = "<fx:FRAME-REF ID-REF=\"F1\"/></fx:FRAME-TRIGGERING>";
    text.insert(
        text.find(end) + std::string("</fx:CHANNEL>").size(),
        "<fx:CHANNEL ID=\"CH2\"><flexray:FLEXRAY-CHANNEL-NAME>B</flexray:FLEXRAY-CHANNEL-NAME><fx:FRAME-TRIGGERINGS>"
        "<fx:FRAME-TRIGGERING ID=\"T2\"><fx:TIMINGS>" +
            timing("5", "0", "1") + timing("6", "0", "1") + "</fx:TIMINGS>" + frame +
            "</fx:FRAME-TRIGGERINGS></fx:CHANNEL>");
    Database const database = readFibex(text);
    EXPECT_EQ("6 warning: frame triggering 'T2': the channel has a frame 'Engine' already; named 'Engine_2'\n",
              problemsOf(database));
    EXPECT_EQ(1U, database.channels.size());
    EXPECT_EQ("Engine: Speed ; Engine_2: Speed ; ", namesOf(database));
    EXPECT_TRUE(database.messages[0].flexRay.channelA);
    EXPECT_TRUE(database.messages[0].flexRay.channelB);
    EXPECT_FALSE(database.messages[1].flexRay.channelA);
    EXPECT_TRUE(database.messages[1].flexRay.channelB);
}

TEST_F(FibexReader, cycleTimesOfCanAreThoseOfTheTriggering) {
    std::string const cyclic = "<fx:TIMINGS><fx:CYCLIC-TIMING><fx:REPEATING-TIME-RANGE><fx:VALUE>PT0.02S</fx:VALUE>"
                               "</fx:REPEATING-TIME-RANGE></fx:CYCLIC-TIMING></fx:TIMINGS>";
    File file;
    std::string const start = "<fx:FRAME-TRIGGERING ID=\"T1\">";
    std::string const plain = file.triggerings;
    file.triggerings.insert(start.size(), cyclic);
    EXPECT_EQ(0.02, readFibex(file.text()).messages.at(0).cycleTime);
    file.triggerings = plain + "</fx:FRAME-TRIGGERINGS><fx:PDU-TRIGGERINGS><fx:PDU-TRIGGERING ID=\"PT1\">" + cyclic +
                       "<fx:PDU-REF ID-REF=\"P1\"/></fx:PDU-TRIGGERING></fx:PDU-TRIGGERINGS><fx:FRAME-TRIGGERINGS>";
    EXPECT_EQ(0.02, readFibex(file.text()).messages.at(0).cycleTime);
}

TEST_F(FibexReader, otherProtocolsAreNamed) {
    File file;
    file.cluster = "<fx:PROTOCOL>Ethernet</fx:PROTOCOL>";
    Database const database = readFibex(file.text());
    EXPECT_EQ("4 error: channel 'Bus': its protocol 'Ethernet' is neither CAN nor FlexRay; left out\n",
              problemsOf(database));
    EXPECT_TRUE(database.messages.empty());
}

TEST_F(FibexReader, badTriggeringCostsItselfAlone) {
    struct {
        char const* triggering;
        char const* cause;
    } const cases[] = {
        {"<fx:FRAME-REF ID-REF=\"F9\"/>", "there is no FRAME 'F9'"},
        {"", "it has no FRAME-REF"},
        {"<fx:FRAME-REF ID-REF=\"F1\"/>", "it has no IDENTIFIER-VALUE"},
        {"<fx:FRAME-REF ID-REF=\"F1\"/><fx:IDENTIFIER><fx:IDENTIFIER-VALUE>x</fx:IDENTIFIER-VALUE></fx:IDENTIFIER>",
         "IDENTIFIER-VALUE 'x' is not a whole number from 0 on"},
        {"<fx:FRAME-REF "
         "ID-REF=\"F1\"/><fx:IDENTIFIER><fx:IDENTIFIER-VALUE>536870912</fx:IDENTIFIER-VALUE></fx:IDENTIFIER>",
         "its identifier has more than 29 bits"},
    };
    for (auto const& c : cases) {
        File file;
        file.triggerings =
            std::string("<fx:FRAME-TRIGGERING ID=\"T0\">") + c.triggering + "</fx:FRAME-TRIGGERING>" + file.triggerings;
        Database const database = readFibex(file.text());
        EXPECT_EQ(std::string("5 error: frame triggering 'T0': ") + c.cause + "; left out\n", problemsOf(database));
        EXPECT_EQ("Engine: Speed ; ", namesOf(database));
    }
}

TEST_F(FibexReader, badTimingCostsItselfAlone) {
    struct {
        std::string timing;
        char const* cause;
    } const cases[] = {
        {timing("0", "0", "1"), "its SLOT-ID 0 is not one of 1 to 2047"},
        {timing("2048", "0", "1"), "its SLOT-ID 2048 is not one of 1 to 2047"},
        {timing("1", "64", "1"), "its cycle 64 is above 63"},
        {timing("1", "0", "3"), "its CYCLE-REPETITION 3 is not one of 1, 2, 4, ... 64"},
        {timing("1", "0", "0"), "its CYCLE-REPETITION 0 is not one of 1, 2, 4, ... 64"},
        {"<fx:ABSOLUTELY-SCHEDULED-TIMING/>", "it has no SLOT-ID"},
    };
    for (auto const& c : cases) {
        Database const database = readFibex(flexRay(c.timing + timing("5", "0", "1")).text());
        EXPECT_EQ(std::string("6 error: frame triggering 'T1': ") + c.cause + "; left out\n", problemsOf(database));
        EXPECT_EQ("Engine: Speed ; ", namesOf(database));
    }
}

TEST_F(FibexReader, badSignalCostsItselfAlone) {
    struct {
        std::string instance;
        char const* cause;
    } const cases[] = {
        {instance("S9", 0), "SIGNAL-INSTANCE 'S9': there is no SIGNAL 'S9'"},
        {instance("S1", 20), "SIGNAL-INSTANCE 'S1': duplicate signal name, first defined on line 10"},
        {instance("S2", 99999), "SIGNAL-INSTANCE 'S2': its BIT-POSITION 99999 is beyond any payload"},
        {instance("S2", 14279), "SIGNAL-INSTANCE 'S2': its BIT-POSITION 14279 is beyond what carries it"},
        {"<fx:SIGNAL-INSTANCE><fx:SIGNAL-REF ID-REF=\"S2\"/></fx:SIGNAL-INSTANCE>",
         "SIGNAL-INSTANCE 'S2': it has no BIT-POSITION"},
    };
    for (auto const& c : cases) {
        File file;
        file.pdu = instances(instance("S1", 0) + "\n" + c.instance);
        Database const database = readFibex(file.text());
        EXPECT_EQ(std::string("11 error: frame 'Engine', ") + c.cause + "; left out\n", problemsOf(database));
        EXPECT_EQ("Engine: Speed ; ", namesOf(database));
    }
}

TEST_F(FibexReader, badPduCostsItselfAlone) {
    File file;
    file.frame = "<fx:PDU-INSTANCES>" + pduInstance("P9", 0) + pduInstance("P1", 4) + pduInstance("P1", 0) +
                 "</fx:PDU-INSTANCES>";
    Database const database = readFibex(file.text());
    EXPECT_EQ("8 error: frame 'Engine', a PDU: there is no PDU 'P9'; left out\n"
              "8 error: frame 'Engine', a PDU: its BIT-POSITION 4 is not the beginning of a byte; left out\n",
              problemsOf(database));
    EXPECT_EQ("Engine: Speed ; ", namesOf(database));
}

TEST_F(FibexReader, badCodingIsNamedByEachSignal) {
    struct {
        char const* type;
        char const* cause;
    } const cases[] = {
        {"", "it has no CODED-TYPE"},
        {"<ho:CODED-TYPE/>", "it has 0 bits, but a signal has 1 to 64"},
        {"<ho:CODED-TYPE><ho:BIT-LENGTH>65</ho:BIT-LENGTH></ho:CODED-TYPE>",
         "it has 65 bits, but a signal has 1 to 64"},
        {"<ho:CODED-TYPE><ho:BIT-LENGTH>x</ho:BIT-LENGTH></ho:CODED-TYPE>",
         "BIT-LENGTH 'x' is not a whole number from 0 on"},
    };
    for (auto const& c : cases) {
        File file;
        file.codedType = c.type;
        EXPECT_EQ(
            std::string("10 error: frame 'Engine', SIGNAL-INSTANCE 'S1': coding 'Code' on line 13 cannot be used: ") +
                c.cause + "; left out\n",
            problemsOf(readFibex(file.text())));
    }
}

TEST_F(FibexReader, whatIsNotDecodedIsNamedOnce) {
    struct {
        char const* type;
        char const* problem;
    } const cases[] = {
        {"ho:BASE-DATA-TYPE=\"A_FLOAT32\"><ho:BIT-LENGTH>16</ho:BIT-LENGTH>",
         "14 error: coding 'Code': a floating-point number has 32 or 64 bits, but this one has 16; read as unsigned\n"},
        {"ENCODING=\"BCD-P\"><ho:BIT-LENGTH>8</ho:BIT-LENGTH>",
         "14 warning: coding 'Code': the encoding 'BCD-P' is not decoded; its signals are read as unsigned\n"},
        {"ho:BASE-DATA-TYPE=\"A_ASCIISTRING\"><ho:BIT-LENGTH>8</ho:BIT-LENGTH>",
         "14 warning: coding 'Code': values of type 'A_ASCIISTRING' are not decoded; its signals are read as "
         "unsigned\n"},
    };
    for (auto const& c : cases) {
        File file;
        file.pdu = instances(instance("S1", 0) + instance("S2", 32));
        file.codedType = std::string("<ho:CODED-TYPE ") + c.type + "</ho:CODED-TYPE>";
        Database const database = readFibex(file.text());
        EXPECT_EQ(c.problem, problemsOf(database));
        EXPECT_EQ("Engine: Speed Load ; ", namesOf(database));
    }
}

TEST_F(FibexReader, badWordCostsItselfAlone) {
    File file;
    auto const word = [](std::string const& limits) {
        return "<ho:COMPU-SCALE>" + limits + "<ho:COMPU-CONST><ho:VT>x</ho:VT></ho:COMPU-CONST></ho:COMPU-SCALE>";
    };
    file.method = scales(word("") + word("<ho:LOWER-LIMIT>2</ho:LOWER-LIMIT><ho:UPPER-LIMIT>1</ho:UPPER-LIMIT>") +
                         word("<ho:LOWER-LIMIT>0</ho:LOWER-LIMIT><ho:UPPER-LIMIT>1024</ho:UPPER-LIMIT>") +
                         word("<ho:LOWER-LIMIT>-9223372036854775808</ho:LOWER-LIMIT><ho:UPPER-LIMIT>9223372036854775807"
                              "</ho:UPPER-LIMIT>") +
                         word("<ho:LOWER-LIMIT>9223372036854775807</ho:LOWER-LIMIT>"));
    Database const database = readFibex(file.text());
    EXPECT_EQ("16 error: coding 'Code': the word 'x' has no range of whole numbers; left out\n"
              "16 error: coding 'Code': the range of the word 'x' runs backwards; left out\n"
              "16 error: coding 'Code': the word 'x' stands for more than 1024 values; left out\n"
              "16 error: coding 'Code': the word 'x' stands for more than 1024 values; left out\n",
              problemsOf(database));
    EXPECT_EQ("9223372036854775807=x ", valuesOf(signalOf(database)));
}

TEST_F(FibexReader, signalBeyondTheFrameIsKeptWithAWarning) {
    File file;
    file.pdu = instances(instance("S1", 60));
    Database const database = readFibex(file.text());
    EXPECT_EQ("10 warning: frame 'Engine', signal 'Speed': it reaches beyond the 8 bytes of the frame\n",
              problemsOf(database));
    EXPECT_EQ("Engine: Speed ; ", namesOf(database));
}

TEST_F(FibexReader, damagedFileStaysInItsRanges) {
    File file = flexRay(timing("5", "0", "1"));
    file.method =
        scales("<ho:COMPU-SCALE><ho:LOWER-LIMIT>0</ho:LOWER-LIMIT><ho:UPPER-LIMIT>2</ho:UPPER-LIMIT><ho:COMPU-CONST>"
               "<ho:VT>off</ho:VT></ho:COMPU-CONST></ho:COMPU-SCALE>");
    file.pdu = std::string("<fx:MULTIPLEXER>") + eightBitSwitch + "<fx:DYNAMIC-PART><fx:SEGMENT-POSITIONS>" +
               segment(16, 48) + "</fx:SEGMENT-POSITIONS><fx:SWITCHED-PDU-INSTANCES>" + switched("P2", "0") +
               "</fx:SWITCHED-PDU-INSTANCES></fx:DYNAMIC-PART></fx:MULTIPLEXER>";
    file.pdus = furtherPdu("P2", instances(instance("S1", 0) + instance("S2", 23, true)));
    std::string const text = file.text();
    EXPECT_EQ("", problemsOf(readFibex(text)));
    EXPECT_EQ("Engine: Mode Speed Load ; ", namesOf(readFibex(text)));
    expectRangesWhateverDamage(readFibex, text, "<>/\"=&;#x-.0129 \n\x80");
}

// Frames that refer to one PDU with many signals, all of one coding with many words.
TEST_F(FibexReader, smallFileDoesNotBecomeALargeOne) {
    File file;
    std::string const triggering = file.triggerings;
    std::string signals;
    for (int i = 0; i < 80; ++i) {
        file.triggerings += triggering;
        signals += instance("S1", 0);
    }
    file.pdu = instances(signals);
    file.method =
        scales("<ho:COMPU-SCALE><ho:LOWER-LIMIT>0</ho:LOWER-LIMIT><ho:UPPER-LIMIT>1023</ho:UPPER-LIMIT><ho:COMPU-CONST>"
               "<ho:VT>x</ho:VT></ho:COMPU-CONST></ho:COMPU-SCALE>");
    Database const database = readFibex(file.text());
    std::size_t values = 0;
    for (MessageDefinition const& message : database.messages)
        for (SignalDefinition const& signal : message.signals)
            values += signal.values.size();
    EXPECT_LT(values, 80U * 1024U);
    std::string const text = problemsOf(database);
    std::size_t const at = text.find("the file describes more signals than are read; all further ones are left out");
    ASSERT_NE(std::string::npos, at);
    EXPECT_EQ(std::string::npos, text.find("more signals", at + 80)); // said once
}

} // namespace qztool
