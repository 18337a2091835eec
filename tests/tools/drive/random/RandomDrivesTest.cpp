// Random definitions and traffic in all formats: whatever the way from files to values, they are those of the model.
#include "tests/tools/drive/DriveFixture.h"
#include "tests/tools/drive/random/DefinitionTexts.h"
#include "tests/tools/drive/random/RecordingTexts.h"
#include "tests/tools/recordings/RecordingFixtures.h"
#include "tools/drive/Drive.h"

#include <algorithm>

namespace qztool {
namespace {

using model::Frames;
using model::Message;
using model::Messages;
using model::SentFrame;
using model::Source;
using model::Values;

// Compares what each frame carried with what the model expects of it.
class Comparison : public DriveListener {
public:
    Comparison(CurrentFrame& current, Frames const& sent, std::vector<Values> const& expected)
        : d_current(current), d_sent(sent), d_expected(expected) {}

    bool onFrame(Frame const& frame) override {
        finishFrame();
        EXPECT_LT(d_count, d_sent.size());
        if (d_count >= d_sent.size())
            return false;
        EXPECT_EQ(frame.timestamp, d_sent[d_count].time) << "frame " << d_count;
        ++d_count;
        return true;
    }
    void onMessage(Frame const&, std::uint64_t) override {
        for (DrivenSignal* const signal : d_current.carried)
            EXPECT_TRUE(d_found.emplace(signal->instance(), model::Value{signal->raw(), signal->physical()}).second)
                << signal->instance() << " twice";
    }
    void onEnd() override {
        finishFrame();
        EXPECT_EQ(d_count, d_sent.size());
    }
    std::size_t values() const { return d_values; }

private:
    void finishFrame() {
        Values const none;
        Values const& expected = d_count == 0 ? none : d_expected[d_count - 1];
        EXPECT_EQ(textOf(d_found), textOf(expected)) << "frame " << d_count;
        d_values += d_found.size();
        d_found.clear();
    }
    // Reals as their bits, so that any difference shows, and NaN equals itself.
    static std::string textOf(Values const& values) {
        std::string text;
        for (auto const& [name, value] : values) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &value.physical, sizeof bits);
            bool const isNan = value.physical != value.physical;
            text += name + " " + std::to_string(value.raw) + " " + (isNan ? "nan" : std::to_string(bits)) + "\n";
        }
        return text;
    }

    CurrentFrame& d_current;
    Frames const& d_sent;
    std::vector<Values> const& d_expected;
    std::size_t d_count = 0;
    std::size_t d_values = 0;
    Values d_found;
};

class RandomDrives : public DriveFixture, public testing::WithParamInterface<unsigned> {
protected:
    // A random frame of a random message, and what the model makes of it.
    void send(SentFrame frame, Values values) {
        frame.time = 1'000'000 + 1000 * d_sent.size();
        d_sent.push_back(std::move(frame));
        d_expected.push_back(std::move(values));
    }
    Message const& anyOf(Messages const& messages) {
        return messages[d_random.below(static_cast<unsigned>(messages.size()))];
    }
    // Also frames that are too short, and such as are not defined.
    void sendFrames(Messages const& messages, unsigned count) {
        constexpr unsigned lengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
        for (unsigned i = 0; i < count; ++i) {
            Message const& message = anyOf(messages);
            SentFrame frame = {
                message.bus, 0, message.address, message.extended, message.fd, 0, d_random.bytes(message.length)};
            if (d_random.once(4))
                frame.payload.resize(message.bus == Bus::Can   ? std::min(lengths[d_random.below(16)], message.length)
                                     : message.bus == Bus::Lin ? 1 + d_random.below(message.length)
                                                               : 2 + 2 * d_random.below(message.length / 2));
            bool isDefined = true;
            if (message.bus == Bus::FlexRay) {
                frame.cycle = d_random.below(64);
                isDefined = frame.cycle % message.repetition == message.baseCycle;
            } else if (d_random.once(10)) {
                isDefined = false;
                frame.address = message.bus == Bus::Lin ? 63 : 0x7FF;
                frame.extended = false;
            }
            Values values;
            if (isDefined)
                model::decode(message, frame.payload, message.name, values);
            send(std::move(frame), std::move(values));
        }
    }
    // Returns how many values were compared.
    std::size_t drive(std::string const& definitions, std::string const& recording) {
        TextReporter reporter;
        DrivenSet set(reporter);
        EXPECT_TRUE(set.load({std::nullopt, definitions}));
        EXPECT_EQ(set.d_signals.build(std::vector<std::string>()), SignalSet::Built::Ready);
        EXPECT_EQ(reporter.text().find("error: "), std::string::npos) << reporter.text();
        TemporaryFile const file(recording);
        NeverStop stop;
        RecordingReader reader(file.path(), stop);
        Drive drive(reader, set.d_definitions.channels(), set.d_frame, stop);
        Comparison comparison(set.d_frame, d_sent, d_expected);
        drive.run(comparison);
        EXPECT_EQ(reader.problem(), "");
        EXPECT_EQ(reader.findings().malformedCount(), 0U);
        return comparison.values();
    }
    void driveAll(std::vector<std::string> const& definitions,
                  std::vector<std::string (*)(Frames const&)> const& recordings) {
        for (std::size_t i = 0; i < definitions.size(); ++i)
            for (std::size_t j = 0; j < recordings.size(); ++j) {
                SCOPED_TRACE("definitions " + std::to_string(i) + ", recording " + std::to_string(j));
                EXPECT_GT(drive(definitions[i], recordings[j](d_sent)), d_sent.size() / 2);
                if (HasFailure())
                    return;
            }
    }

    Source d_random{GetParam()};
    Frames d_sent;
    std::vector<Values> d_expected;
};

TEST_P(RandomDrives, can) {
    Messages messages;
    for (unsigned i = 0; i < 12; ++i) {
        constexpr unsigned lengths[] = {12, 16, 24, 64};
        Message& message = messages.emplace_back();
        message.name = instance("M" + std::to_string(i));
        message.extended = d_random.once(2);
        message.address = message.extended ? 0x1000 + 64 * i + d_random.below(64) : 1 + 100 * i + d_random.below(100);
        message.fd = d_random.once(3);
        message.length = message.fd ? lengths[d_random.below(4)] : 1 + d_random.below(8);
        d_random.addSignals(message, 1 + d_random.below(8), true);
    }
    sendFrames(messages, 200);
    std::vector<std::string> definitions = {definitionFile("a.dbc", model::dbcText(messages, ""))};
#ifdef QZSIGNAL_WITH_PUGIXML
    definitions.push_back(definitionFile("a.kcd", model::kcdText(messages)));
#endif
    driveAll(definitions, {model::candumpText, model::ascText, model::trcText, model::pcapText, model::blfText});
}

TEST_P(RandomDrives, lin) {
    Messages messages;
    for (unsigned i = 0; i < 10; ++i) {
        Message& message = messages.emplace_back();
        message.bus = Bus::Lin;
        message.name = instance("F" + std::to_string(i));
        message.address = i * 5 + d_random.below(5);
        message.length = 1 + d_random.below(8);
        // Signals follow each other, with gaps.
        unsigned bit = d_random.below(4);
        for (unsigned j = 0; bit < message.length * 8; ++j) {
            model::Signal& signal = message.signals.emplace_back();
            signal.name = "S" + std::to_string(i) + "x" + std::to_string(j);
            unsigned const bits = 1 + d_random.below(std::min(16U, message.length * 8 - bit));
            for (unsigned k = bits; k-- > 0;)
                signal.bits.push_back(bit + k);
            signal.factor = d_random.once(2) ? 0.5 : 3;
            signal.offset = d_random.once(2) ? -40 : 0;
            bit += bits + d_random.below(4);
        }
    }
    sendFrames(messages, 200);
    driveAll({definitionFile("a.ldf", model::ldfText(messages))}, {model::ascText, model::blfText});
}

TEST_P(RandomDrives, flexRay) {
#ifndef QZSIGNAL_WITH_PUGIXML
    GTEST_SKIP() << "built without pugixml";
#endif
    Messages messages;
    for (unsigned i = 0; i < 10; ++i) {
        Message& message = messages.emplace_back();
        message.bus = Bus::FlexRay;
        message.name = instance("F" + std::to_string(i));
        message.address = 1 + i * 6 + d_random.below(6);
        message.repetition = 1U << d_random.below(3);
        message.baseCycle = d_random.below(message.repetition);
        message.length = 2 + 2 * d_random.below(20);
        for (unsigned j = 0; j < 6; ++j) {
            model::Signal signal =
                d_random.signal("S" + std::to_string(i) + "x" + std::to_string(j), message.length, true, false);
            signal.factor = 1;
            signal.offset = 0;
            message.signals.push_back(std::move(signal));
        }
    }
    sendFrames(messages, 300);
    driveAll({definitionFile("a.xml", model::fibexText(messages))}, {model::blfText});
}

// Frames and packets of several sources, whose messages overlap.
TEST_P(RandomDrives, j1939) {
    Messages messages;
    for (unsigned i = 0; i < 10; ++i) {
        Message& message = messages.emplace_back();
        message.name = instance("G" + std::to_string(i));
        message.extended = true;
        bool const hasDestination = d_random.once(3);
        message.address =
            (hasDestination ? 0x00100000U + (i << 16U) : 0x00F00000U + (i << 8U)) | 0x18000000U | d_random.below(256);
        message.length = d_random.once(3) ? 9 + d_random.below(60) : 8;
        d_random.addSignals(message, 1 + d_random.below(6), true);
    }
    struct Session {
        Message const* message = nullptr;
        std::vector<std::uint8_t> payload;
        std::size_t sent = 0; // bytes
        unsigned destination = 0xFF;
    };
    constexpr unsigned sources[] = {0x00, 0x0B, 0xF9};
    Session sessions[3];
    std::map<std::string, unsigned> first; // source of each message, by its name
    auto const values = [&](Message const& message, std::vector<std::uint8_t> const& payload, unsigned source) {
        Values result;
        unsigned const known = first.emplace(message.name, source).first->second;
        model::decode(message, payload, message.name + (known == source ? "" : model::format("_SA%02X", source)),
                      result);
        return result;
    };
    auto const packet = [](unsigned group, unsigned destination, unsigned source) {
        SentFrame frame;
        frame.extended = true;
        frame.address = 0x1C000000U | group << 16U | destination << 8U | source;
        return frame;
    };
    while (d_sent.size() < 400) {
        unsigned const which = d_random.below(3), source = sources[which];
        Session& session = sessions[which];
        if (session.message == nullptr || d_random.once(3)) {
            Message const& message = anyOf(messages);
            std::vector<std::uint8_t> payload = d_random.bytes(message.length);
            if (message.length <= 8) {
                SentFrame frame = packet(0, 0, source);
                frame.address = (message.address & 0x03FFFF00U) | d_random.below(8) << 26U | source;
                if ((frame.address >> 16U & 0xFFU) < 240)
                    frame.address = (frame.address & ~0xFF00U) | d_random.below(256) << 8U;
                frame.payload = payload;
                send(std::move(frame), values(message, payload, source));
            } else if (session.message == nullptr) {
                session = {&message, payload, 0, d_random.once(2) ? 0xFFU : 0x21U};
                auto const bytes = static_cast<std::uint8_t>(payload.size());
                auto const group = message.address >> 8U & 0x3FFFFU;
                bool const hasDestination = (message.address >> 16U & 0xFFU) < 240;
                SentFrame frame = packet(0xEC, session.destination, source);
                frame.payload = {static_cast<std::uint8_t>(session.destination == 0xFF ? 32 : 16),
                                 bytes,
                                 0,
                                 static_cast<std::uint8_t>((bytes + 6) / 7),
                                 0xFF,
                                 static_cast<std::uint8_t>(hasDestination ? 0 : group & 0xFFU),
                                 static_cast<std::uint8_t>(group >> 8U & 0xFFU),
                                 0};
                send(std::move(frame), {});
            }
            continue;
        }
        SentFrame frame = packet(0xEB, session.destination, source);
        frame.payload.assign(8, 0xFF);
        frame.payload[0] = static_cast<std::uint8_t>(session.sent / 7 + 1);
        std::size_t const count = std::min<std::size_t>(7, session.payload.size() - session.sent);
        std::copy_n(session.payload.begin() + static_cast<std::ptrdiff_t>(session.sent), count,
                    frame.payload.begin() + 1);
        session.sent += count;
        bool const isLast = session.sent == session.payload.size();
        send(std::move(frame), isLast ? values(*session.message, session.payload, source) : Values());
        if (isLast)
            session.message = nullptr;
    }
    driveAll({definitionFile("a.dbc", model::dbcText(messages, "BA_ \"ProtocolType\" \"J1939\";\n"))},
             {model::candumpText, model::blfText});
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDrives, testing::Range(1U, 6U));

} // namespace
} // namespace qztool
