#include "entry/Notifier.h"

#include "copy/EnvironmentValue.h"
#include "fakes/FakeNotifications.h"
#include "fakes/QtPrinters.h"

#include <QUuid>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace entry {
namespace {

using namespace Qt::StringLiterals;
using Status = Notifications::Status;
using testing::ElementsAre;
using testing::IsEmpty;

class NotifierTest : public testing::Test {
protected:
    EnvironmentValue noTestMode{"TARVEX_HOME", std::nullopt};
    fakes::FakeNotifications notifications;
    std::unique_ptr<Notifier> notifier = std::make_unique<Notifier>(notifications);
};

TEST_F(NotifierTest, PostsUnderTheNameOfTheProgramWithAFreshIdentifier) {
    notifier->post(u"one"_s);
    notifier->post(u"two"_s);
    ASSERT_EQ(notifications.added.size(), 2U);
    EXPECT_EQ(notifications.added[0].title, u"Brieflet"_s);
    EXPECT_THAT(notifications.bodies(), ElementsAre(u"one"_s, u"two"_s));
    EXPECT_FALSE(QUuid(notifications.added[0].identifier).isNull());
    EXPECT_NE(notifications.added[0].identifier, notifications.added[1].identifier);
    EXPECT_EQ(notifications.alertRequests, 0);
}

TEST_F(NotifierTest, PostsWhereTheUserOnlyLetsItHappenQuietly) {
    notifications.statusAnswer = Status::Provisional;
    notifier->post(u"one"_s);
    EXPECT_THAT(notifications.bodies(), ElementsAre(u"one"_s));
}

TEST_F(NotifierTest, AsksTheFirstTimeAndPostsAfterAYes) {
    notifications.statusAnswer = Status::NotDetermined;
    notifier->post(u"one"_s);
    EXPECT_EQ(notifications.alertRequests, 1);
    EXPECT_THAT(notifications.bodies(), ElementsAre(u"one"_s));
}

TEST_F(NotifierTest, AsksTheFirstTimeAndIsSilentAfterANo) {
    notifications.statusAnswer = Status::NotDetermined;
    notifications.alertsGranted = false;
    notifier->post(u"one"_s);
    EXPECT_EQ(notifications.alertRequests, 1);
    EXPECT_THAT(notifications.added, IsEmpty());
}

TEST_F(NotifierTest, IsSilentWhereTheUserSaidNo) {
    notifications.statusAnswer = Status::Denied;
    notifier->post(u"one"_s);
    EXPECT_EQ(notifications.alertRequests, 0);
    EXPECT_THAT(notifications.added, IsEmpty());
}

TEST_F(NotifierTest, DoesNotEvenAskInTestMode) {
    const EnvironmentValue home("TARVEX_HOME", "/tmp/test");
    notifier->post(u"one"_s);
    EXPECT_EQ(notifications.statusRequests, 0);
    EXPECT_THAT(notifications.added, IsEmpty());
}

class SlowNotifications final : public Notifications {
public:
    std::function<void(Status)> heldStatus;
    std::function<void(bool)> heldAlerts;
    int added = 0;

    void status(std::function<void(Status)> reply) override { heldStatus = std::move(reply); }

    void requestAlerts(std::function<void(bool)> reply) override { heldAlerts = std::move(reply); }

    void add(const Notification&) override { ++added; }
};

TEST_F(NotifierTest, RepliesThatComeAfterItHasGoneDoNothing) {
    SlowNotifications slow;
    auto late = std::make_unique<Notifier>(slow);
    late->post(u"one"_s);
    slow.heldStatus(Status::NotDetermined);
    late.reset();
    slow.heldAlerts(true);
    slow.heldStatus(Status::Authorized);
    EXPECT_EQ(slow.added, 0);
}

} // namespace
} // namespace entry
