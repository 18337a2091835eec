// Stands in for the readers of XML formats in a build without pugixml.
#include "tools/definitions/fibex/FibexReader.h"
#include "tools/definitions/kcd/KcdReader.h"

#include <string>

namespace qztool {

namespace {

Database refuse(char const* format) {
    Database database;
    database.problems.push_back({0, Severity::Error,
                                 std::string(format) + " files cannot be read: this qzsignal was built without the "
                                                       "library pugixml"});
    return database;
}

} // namespace

Database readKcd(std::string_view) {
    return refuse("KCD");
}

Database readFibex(std::string_view) {
    return refuse("FIBEX");
}

} // namespace qztool
