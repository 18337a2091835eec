// Fixture of formats that are XML, which a build without pugixml does not read.
#pragma once

#include <gtest/gtest.h>

namespace qztool {

class XmlFormat : public testing::Test {
protected:
    void SetUp() override {
#ifndef QZSIGNAL_WITH_PUGIXML
        GTEST_SKIP() << "built without pugixml";
#endif
    }
};

} // namespace qztool
