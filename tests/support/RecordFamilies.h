// The two families of shared records side by side, for tests of what holds for both.
#pragma once

#include "tests/support/CANSignalProbe.h"
#include "tests/support/ShmProbe.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

struct ShmFamily {
    using Signal = ShmProbe;
    static constexpr char label[] = "ShmSignal";
    static constexpr std::size_t recordSize = sizeof(shmSignalData_t);
    static baseSignalDef_t definition(std::string const& instance) { return plainDefinition(instance); }
};

struct CANFamily {
    using Signal = CANSignalProbe;
    static constexpr char label[] = "CANSignal";
    static constexpr std::size_t recordSize = sizeof(qzsignal::canSignalData_t);
    static canSignal_t definition(std::string const& instance) { return canDefinition(instance); }
};

using RecordFamilies = testing::Types<ShmFamily, CANFamily>;

// Names tests after their family.
struct FamilyNames {
    template <typename Family>
    static std::string GetName(int) {
        return Family::label;
    }
};
