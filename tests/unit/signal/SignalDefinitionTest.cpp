// Printed forms of value types and definitions.
#include "qzsignal/signal/SignalDefinition.h"

#include "tests/support/Observe.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <type_traits>

namespace {

baseSignalDef_t exampleDefinition() {
    baseSignalDef_t definition;
    definition.instance = "Engine.Speed";
    definition.signal = "Speed";
    definition.channel = 3;
    definition.unit = "rpm";
    definition.type = signalSigned;
    definition.startbit = 7;
    definition.bits = 12;
    definition.scale = 0.25;
    definition.offset = -10;
    definition.endian = true;
    return definition;
}

TEST(SignalValue, isThirtyTwoBitsSigned) {
    static_assert(std::is_same<std::underlying_type<signalValue_t>::type, std::int32_t>::value, "");
    EXPECT_EQ(sizeof(signalValue_t), 4U);
}

TEST(SignalValue, printsItsNameAndNothingForOtherNumbers) {
    struct {
        int value;
        char const* name;
    } const cases[] = {{0, "unsigned"}, {1, "signed"}, {2, "float"}, {3, "double"}, {4, ""}, {7, ""}, {-1, ""}};
    for (auto const& each : cases)
        EXPECT_EQ(printed(static_cast<signalValue_t>(each.value)), each.name) << each.value;
}

TEST(SignalValue, unknownTypePrintsNothingWhateverTheWidth) {
    std::ostringstream out;
    out << std::setw(8) << static_cast<signalValue_t>(7) << '|' << std::setw(8) << signalFloat << '|';
    EXPECT_EQ(out.str(), "|   float|") << "the name of a known one is padded as any word is";
}

TEST(SignalDefinition, hasDefaultsOfZeroAndEmpty) {
    baseSignalDef_t const definition;
    EXPECT_EQ(printed(definition),
              "instance=,signal=,channel=0,unit=,type=unsigned,startbit=0,bits=0,scale=0,offset=0,endian=LITTLE");
}

TEST(SignalDefinition, printsBytesAsNumbers) {
    EXPECT_EQ(printed(exampleDefinition()), "instance=Engine.Speed,signal=Speed,channel=3,unit=rpm,type=signed,"
                                            "startbit=7,bits=12,scale=0.25,offset=-10,endian=BIG");
}

TEST(SignalDefinition, printsNothingForAnUnknownType) {
    baseSignalDef_t definition = exampleDefinition();
    definition.type = static_cast<signalValue_t>(7);
    EXPECT_NE(printed(definition).find(",type=,startbit="), std::string::npos);
}

TEST(SignalDefinition, printsDecimalIntoAHexadecimalStreamAndLeavesItDecimal) {
    baseSignalDef_t definition = exampleDefinition();
    definition.startbit = 300;
    std::ostringstream out;
    out << std::hex << definition;
    EXPECT_NE(out.str().find(",startbit=300,bits=12,"), std::string::npos);
    EXPECT_EQ(out.flags() & std::ios::basefield, std::ios::dec);
}

TEST(SignalDefinition, operatorsReturnTheStream) {
    std::ostringstream out;
    EXPECT_EQ(&(out << signalFloat), &out);
    EXPECT_EQ(&(out << exampleDefinition()), &out);
}

} // namespace
