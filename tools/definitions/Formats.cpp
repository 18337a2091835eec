// The table of formats.
#include "tools/definitions/Formats.h"

#include "tools/definitions/dbc/DbcReader.h"
#include "tools/definitions/fibex/FibexReader.h"
#include "tools/definitions/kcd/KcdReader.h"
#include "tools/definitions/ldf/LdfReader.h"

#include <algorithm>
#include <iterator>

namespace qztool {

namespace {

// DBC has no mark that all files begin with, so it takes what no other format does.
bool anything(std::string_view) {
    return true;
}

constexpr DefinitionFormat formats[] = {
    {"LDF", looksLikeLdf, readLdf},
    {"FIBEX", looksLikeFibex, readFibex},
    {"KCD", looksLikeKcd, readKcd},
    {"DBC", anything, readDatabase},
};

} // namespace

DefinitionFormat const& definitionFormatOf(std::string_view bytes) {
    return *std::find_if(std::begin(formats), std::prev(std::end(formats)),
                         [bytes](DefinitionFormat const& format) { return format.looksLike(bytes); });
}

Database readDefinitions(std::string_view bytes) {
    return definitionFormatOf(bytes).read(bytes);
}

} // namespace qztool
