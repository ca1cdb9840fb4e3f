#include "ui/Permissions.h"

#include "fakes/QtPrinters.h"

#include <gtest/gtest.h>

namespace ui {
namespace {

using namespace Qt::StringLiterals;

TEST(PermissionsTest, TheStatusLineIsTheNameABlankAndTheMark) {
    EXPECT_EQ(Permissions::statusLine(u"麥克風"_s, true), u"麥克風 ✓"_s);
    EXPECT_EQ(Permissions::statusLine(u"麥克風"_s, false), u"麥克風 ✗"_s);
}

TEST(PermissionsTest, ThePanesHaveStableNames) {
    EXPECT_EQ(Permissions::microphonePane,
              u"x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone");
    EXPECT_EQ(Permissions::screenCapturePane,
              u"x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture");
}

} // namespace
} // namespace ui
