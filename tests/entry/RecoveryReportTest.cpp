#include "entry/RecoveryReport.h"

#include "fakes/QtPrinters.h"

#include <gtest/gtest.h>

namespace entry {
namespace {

using namespace Qt::StringLiterals;

TEST(RecoveryReportTest, NothingHealedPrintsNothing) {
    EXPECT_EQ(recoveryLines({}), QStringList());
}

TEST(RecoveryReportTest, EachFolderIsALineWithItsTracksAndEachFailureALineBehindIt) {
    const std::vector<store::Recovery::Outcome> outcomes = {
        {.folder = "/m/2025_03_07_0930_x", .tracks = {{u"mic"_s, 12.34}, {u"system"_s, 3600.0}}},
        {.folder = "/m/b", .tracks = {{u"mic"_s, 0.04}}, .failures = {u"system: bad"_s, u"meta.json: full"_s}},
        {.folder = "/m/c", .metaWritten = true}};
    const QStringList expected = {u"recovered: 2025_03_07_0930_x mic 12.3s system 3600.0s"_s,
                                  u"recovered: b mic 0.0s"_s, u"recover failed: system: bad"_s,
                                  u"recover failed: meta.json: full"_s, u"recovered: c "_s};
    EXPECT_EQ(recoveryLines(outcomes), expected);
}

} // namespace
} // namespace entry
