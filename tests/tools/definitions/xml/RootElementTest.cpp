// How XML formats are distinguished.
#include "tools/definitions/xml/RootElement.h"
#include "tests/tools/definitions/dbc/DatabaseText.h"
#include "tools/definitions/Formats.h"

#include <gtest/gtest.h>

#include <string>

namespace qztool {

TEST(RootElement, isFoundPastWhatMayPrecedeIt) {
    EXPECT_EQ("a", rootElementOf("<a/>"));
    EXPECT_EQ("a", rootElementOf("<a>"));
    EXPECT_EQ("a", rootElementOf(" \r\n<a b=\"c\">"));
    EXPECT_EQ("FIBEX", rootElementOf("\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- <x> -->\n<fx:FIBEX\n>"));
    EXPECT_EQ("a", rootElementOf("<!DOCTYPE a><a>"));
    EXPECT_EQ("a", rootElementOf("<!DOCTYPE a [<!ENTITY x \"<b>\">]><a>"));
}

TEST(RootElement, isEmptyOfWhatIsNoXml) {
    for (char const* text : {"", "VERSION \"\"", "<", "<!--", "<?xml", "<!DOCTYPE a", "\xEF\xBB\xBF", "< a>"})
        EXPECT_EQ("", rootElementOf(text)) << text;
}

TEST(RootElement, tellsTheFormat) {
    EXPECT_STREQ("KCD", definitionFormatOf("<NetworkDefinition/>").name);
    EXPECT_STREQ("KCD", definitionFormatOf("<?xml version=\"1.0\"?><k:NetworkDefinition xmlns:k=\"x\"/>").name);
    EXPECT_STREQ("FIBEX", definitionFormatOf("<fx:FIBEX VERSION=\"4.1\"/>").name);
    EXPECT_STREQ("DBC", definitionFormatOf("<other/>").name);
}

#ifndef QZSIGNAL_WITH_PUGIXML
TEST(RootElement, formatsThatNeedALibraryNameIt) {
    EXPECT_EQ("0 error: KCD files cannot be read: this qzsignal was built without the library pugixml\n",
              problemsOf(readDefinitions("<NetworkDefinition/>")));
    EXPECT_EQ("0 error: FIBEX files cannot be read: this qzsignal was built without the library pugixml\n",
              problemsOf(readDefinitions("<FIBEX/>")));
}
#endif

} // namespace qztool
