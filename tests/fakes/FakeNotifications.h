// A notification service whose answers a test sets, and that keeps what was posted.
#pragma once

#include "entry/Notifications.h"

#include <vector>

namespace fakes {

class FakeNotifications final : public entry::Notifications {
public:
    Status statusAnswer = Status::Authorized;
    bool alertsGranted = true;
    int statusRequests = 0;
    int alertRequests = 0;
    std::vector<entry::Notification> added;

    void status(std::function<void(Status)> reply) override {
        ++statusRequests;
        reply(statusAnswer);
    }

    void requestAlerts(std::function<void(bool granted)> reply) override {
        ++alertRequests;
        reply(alertsGranted);
    }

    void add(const entry::Notification& notification) override { added.push_back(notification); }

    [[nodiscard]] std::vector<QString> bodies() const {
        std::vector<QString> texts;
        for (const auto& notification : added) {
            texts.push_back(notification.body);
        }
        return texts;
    }
};

} // namespace fakes
