// Recordings of real cars, every signal of every frame against a decoding of our own.
#include "tests/tools/drive/DriveFixture.h"
#include "tests/tools/drive/PlainDecoding.h"
#include "tools/definitions/dbc/DbcReader.h"

#include "qzsignal/shm/ShmSignal.h"
#include "tools/base/TextFile.h"
#include "tools/recordings/RecordingReader.h"

#include <cstring>
#include <map>
#include <sys/wait.h>

namespace qztool {
namespace {

struct Expected {
    bool written = false;
    std::uint64_t raw = 0;
    double physical = 0;
    std::uint64_t timestamp = 0;
};

// Empty if the signal shows exactly what is expected.
std::string difference(BaseSignal& signal, Expected const& expected) {
    unsigned long long raw = 0, timestamp = 0, again = 0;
    double physical = 0;
    bool const written = signal.read(raw, timestamp) && signal.read(physical, again);
    if (written != expected.written)
        return written ? "has a value" : "has no value";
    if (!written)
        return "";
    if (raw != expected.raw)
        return "raw value " + std::to_string(raw) + " instead of " + std::to_string(expected.raw);
    if (std::memcmp(&physical, &expected.physical, sizeof physical) != 0)
        return "physical value " + std::to_string(physical) + " instead of " + std::to_string(expected.physical);
    return timestamp == expected.timestamp && again == timestamp ? "" : "another time";
}

struct Recording {
    char const* car;
    char const* definitions;
    char const* trace;
    std::size_t leastSignals; // how many fit at least
    std::size_t leastDecoded; // likewise, frames
};

class PublicRecordingsTest : public DriveFixture, public testing::WithParamInterface<Recording> {};

TEST_P(PublicRecordingsTest, arriveWithoutLoss) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    if (data == nullptr)
        GTEST_SKIP() << "QZSIGNAL_DATA does not name the folder of public files";
    Recording const recording = GetParam();

    std::string text;
    ASSERT_EQ(readTextFile(std::string(data) + "/dbc/" + recording.definitions, text), "");
    std::string const path = dbcFile(text);
    ASSERT_EQ(readTextFile(path, text = ""), "");
    Database const database = readDatabase(text);
    std::map<std::pair<bool, std::uint32_t>, std::vector<MessageDefinition const*>> messages;
    for (MessageDefinition const& message : database.messages)
        messages[{message.extended, message.address}].push_back(&message);

    TextReporter reporter;
    DrivenSet set(reporter);
    ASSERT_TRUE(set.load({std::nullopt, path}));
    ASSERT_EQ(set.share(), SignalSet::Built::Ready) << reporter.text();
    EXPECT_GE(set.d_signals.sharedCount(), recording.leastSignals);

    std::size_t decoded = 0;
    std::map<std::string, Expected> expected;
    NeverStop stop;
    RecordingReader trace(std::string(data) + "/candump/" + recording.trace, stop);
    ASSERT_TRUE(trace.isOpen()) << trace.problem();
    Frame frame;
    while (trace.next(frame) == RecordingReader::Next::Frame) {
        decoded += set.feed(frame) != 0 ? 1 : 0;
        for (MessageDefinition const* const message : messages[{frame.extended(), frame.address}])
            for (SignalDefinition const& signal : message->signals) {
                std::string const name = expressionName(instanceName(*message, signal));
                Expected& value = expected[name];
                if (carries(frame, *message, signal)) {
                    std::uint64_t const raw = rawOf(signal, *bitsOf(signal, frame));
                    value = {true, raw, physicalOf(signal, raw), frame.timestamp};
                }
                BaseSignal* const shared = BaseSignal::getInstance(name.c_str());
                ASSERT_NE(shared, nullptr) << name;
                ASSERT_EQ(difference(*shared, value), "") << name << " in line " << trace.place();
            }
    }
    EXPECT_EQ(trace.problem(), "");
    EXPECT_EQ(trace.findings().malformedCount(), 0U);
    EXPECT_GE(decoded, recording.leastDecoded);
    RecordProperty("decoded", static_cast<int>(decoded));

    // Another process, which knows nothing but the names, finds the same.
    pid_t const reader = fork();
    if (reader == 0) {
        BaseSignal::instances.clear(); // what the child inherited is not its own
        int wrong = 0;
        for (auto const& [name, value] : expected) {
            ShmSignal signal(name.c_str());
            wrong += difference(signal, value).empty() ? 0 : 1;
        }
        _exit(wrong == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(reader, &status, 0), reader);
    EXPECT_EQ(status, 0);
}

constexpr Recording recordings[] = {
    {"subaru", "opendbc/subaru_outback_2015_generated.dbc", "subaru_wrx_allgears.log", 150, 14000},
    {"ford", "opendbc/ford_lincoln_base_pt.dbc", "ford_mustang_gt350_engineon_modes.log", 2150, 39000},
    {"tesla", "other/kuksa_Model3CAN.dbc", "kuksa_tesla_m3_soc_cabin.log", 2700, 12000},
};

INSTANTIATE_TEST_SUITE_P(Cars, PublicRecordingsTest, testing::ValuesIn(recordings),
                         [](auto const& instance) { return instance.param.car; });

class PublicJ1939Test : public DriveFixture {};

TEST_F(PublicJ1939Test, framesMatchByParameterGroup) {
    char const* const data = std::getenv("QZSIGNAL_DATA");
    if (data == nullptr)
        GTEST_SKIP() << "QZSIGNAL_DATA does not name the folder of public files";
    std::string text;
    ASSERT_EQ(readTextFile(std::string(data) + "/dbc/other/canmatrix_j1939.dbc", text), "");
    TextReporter reporter;
    DrivenSet set(reporter);
    ASSERT_TRUE(set.load({std::nullopt, dbcFile(text)}));
    ASSERT_EQ(set.d_signals.build(std::vector<std::string>()), SignalSet::Built::Ready);
    std::map<Feeder::Fed, unsigned> fed;
    NeverStop stop;
    RecordingReader trace(std::string(data) + "/candump/j1939_frame.log", stop);
    Frame frame;
    while (trace.next(frame) == RecordingReader::Next::Frame) {
        set.feed(frame);
        ++fed[set.d_fed];
        // Each frame of two groups, by hand.
        auto const source = frame.address & 0xFFU;
        if ((frame.address & 0x3FFFF00U) == 0x00F00400U)
            ASSERT_EQ(rawValue(instance("EEC1.Engine_Speed")), frame.bytes[3] + 256U * frame.bytes[4]);
        if ((frame.address & 0x3FF0000U) == 0)
            ASSERT_EQ(rawValue(instance(source == 0x0B   ? "TSC1.Engine_Requested_Speed_Speed_Limit"
                                        : source == 0x03 ? "TSC1_SA03.Engine_Requested_Speed_Speed_Limit"
                                                         : "TSC1_SA27.Engine_Requested_Speed_Speed_Limit")),
                      frame.bytes[1] + 256U * frame.bytes[2]);
    }
    EXPECT_EQ(fed[Feeder::Fed::Message], 10307U);
    EXPECT_EQ(fed[Feeder::Fed::OtherChannel], 0U);
    EXPECT_EQ(fed[Feeder::Fed::Packet], set.d_feeder->transport().packets);
    EXPECT_EQ(fed[Feeder::Fed::Message] + fed[Feeder::Fed::Packet] + fed[Feeder::Fed::Nothing], 13011U);
}

} // namespace
} // namespace qztool
