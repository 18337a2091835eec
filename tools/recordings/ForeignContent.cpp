// The table of other formats.
#include "tools/recordings/ForeignContent.h"

#include <algorithm>

namespace qztool {

namespace {

struct Foreign {
    std::string_view beginning;
    char const* message;
};

constexpr char const* mdf =
    "it is an MDF measurement (MF4, DAT); export it as BLF or ASC with the program that recorded it";
constexpr char const* otherCompression =
    "it is compressed in a way that is not supported; decompress it, or use gzip, xz "
    "or zstd";
constexpr char const* utf16 = "it is UTF-16 text; convert it to UTF-8, as with iconv -f UTF-16 -t UTF-8";

constexpr Foreign foreignBeginnings[] = {
    {"MDF     ", mdf},
    {"UnFinMF ", mdf},
    {"SQLite format 3", "it is an SQLite database; export its frames as candump text or ASC"},
    {"PK\3\4", "it is a ZIP archive; unpack it and name the recording inside"},
    {"7z\xBC\xAF\x27\x1C", "it is a 7z archive; unpack it and name the recording inside"},
    {"Rar!\x1A", "it is a RAR archive; unpack it and name the recording inside"},
    {"BZh", otherCompression},
    {"\x04\x22\x4D\x18", otherCompression},
    {"\x1F\x9D", otherCompression},
    {"%PDF-", "it is a PDF document"},
    {"\x89HDF\r\n\x1A\n", "it is an HDF5 file; export its frames as candump text or ASC"},
    {"PAR1", "it is a Parquet file; export its frames as candump text or ASC"},
    {"MATLAB 5.0 MAT", "it is a MATLAB file; export its frames as candump text or ASC"},
    {"\x7F"
     "ELF",
     "it is a program"},
    {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", "it is a document of an office program"},
    {"VERSION \"", "it is a DBC file, which holds definitions: name it with --definitions"},
    {"LIN_description_file", "it is an LDF file, which holds definitions: name it with --definitions"},
    {"<?xml", "it is XML, perhaps with definitions: name those with --definitions"},
    {"<!DOCTYPE html", "it is a web page"},
    {"<html", "it is a web page"},
};

bool beginsWith(std::string_view bytes, std::string_view beginning) {
    return bytes.substr(0, beginning.size()) == beginning;
}

// A file of two-byte characters may lack a mark. Its first ones are of ASCII.
bool isUtf16(std::string_view bytes) {
    if (beginsWith(bytes, "\xFF\xFE") || beginsWith(bytes, "\xFE\xFF"))
        return true;
    if (bytes.size() < 8)
        return false;
    for (std::size_t const zero : {0U, 1U}) {
        bool alternates = true;
        for (std::size_t i = 0; i < 8; ++i)
            alternates = alternates && (bytes[i] == '\0') == (i % 2 == zero);
        if (alternates)
            return true;
    }
    return false;
}

} // namespace

char const* foreignContent(std::string_view bytes) {
    for (Foreign const& each : foreignBeginnings)
        if (beginsWith(bytes, each.beginning))
            return each.message;
    return isUtf16(bytes) ? utf16 : nullptr;
}

char const* foreignLine(std::string_view line) {
    for (char const separator : {',', ';'})
        if (std::count(line.begin(), line.end(), separator) >= 3)
            return "it is CSV, of which there are too many kinds; export candump text, ASC or BLF in its place";
    return nullptr;
}

} // namespace qztool
