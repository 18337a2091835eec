// The table of buses.
#include "tools/drive/Buses.h"

#include "tools/drive/can/CanFeeder.h"
#include "tools/drive/can/CanSignal.h"
#include "tools/drive/flexray/ChannelCode.h"
#include "tools/drive/flexray/DrivenFlexRaySignal.h"
#include "tools/drive/flexray/FlexRayFeeder.h"
#include "tools/drive/lin/LinFeeder.h"
#include "tools/drive/lin/LinSignal.h"

namespace qztool {

namespace {

constexpr BusSupport buses[] = {
    {Bus::Can, 256, buildCanSignal, makeCanFeeder},
    {Bus::Lin, 256, buildLinSignal, makeLinFeeder},
    {Bus::FlexRay, mostFlexRayNetworks, buildFlexRaySignal, makeFlexRayFeeder},
};

} // namespace

BusSupport const* supportOf(Bus bus) {
    for (BusSupport const& support : buses)
        if (support.bus == bus)
            return &support;
    return nullptr;
}

} // namespace qztool
