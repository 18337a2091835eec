// Big-endian reads from serialized records.
#include "qzsignal/trace/RawRecord.h"

#include <gtest/gtest.h>

namespace qzsignal {
namespace {

unsigned char const bytes[] = {0x80, 0x01, 0x02, 0x03, 0xff};

TEST(RawRecord, readsBigEndianAtAnyAlignment) {
    RawRecord const record(bytes);
    EXPECT_EQ(record.byte(4), 0xffU);
    EXPECT_EQ(record.word16(0), 0x8001U);
    EXPECT_EQ(record.word16(3), 0x03ffU);
    EXPECT_EQ(record.word32(0), 0x80010203U);
    EXPECT_EQ(record.word32(1), 0x010203ffU);
}

TEST(RawRecord, versionSelectsOffsetAndWidthOfTheType) {
    unsigned char const before = MessageBase::version;
    RawRecord const record(bytes);
    MessageBase::version = 1;
    EXPECT_EQ(record.type(), 0x0203U);
    for (unsigned const version : {0, 2, 255}) {
        MessageBase::version = static_cast<unsigned char>(version);
        EXPECT_EQ(record.type(), 0x80U) << version;
    }
    MessageBase::version = before;
}

} // namespace
} // namespace qzsignal
