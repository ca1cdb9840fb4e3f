#include "entry/Notifier.h"

#include "base/Environment.h"
#include "copy/Strings.h"

#include <QUuid>

namespace entry {

Notifier::Notifier(Notifications& notifications)
    : m_notifications(notifications)
    , m_self(std::make_shared<Notifier*>(this)) {}

void Notifier::post(const QString& text) {
    if (base::Environment::testMode()) {
        return;
    }
    m_notifications.status([weak = std::weak_ptr(m_self), text](Notifications::Status status) {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        switch (status) {
        case Notifications::Status::Authorized:
        case Notifications::Status::Provisional:
            (*self)->add(text);
            break;
        case Notifications::Status::NotDetermined:
            (*self)->m_notifications.requestAlerts([weak, text](bool granted) {
                if (const auto later = weak.lock(); later && granted) {
                    (*later)->add(text);
                }
            });
            break;
        case Notifications::Status::Denied:
            break;
        }
    });
}

void Notifier::add(const QString& text) {
    m_notifications.add({.title = copy::Strings::appName,
                         .body = text,
                         .identifier = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()});
}

} // namespace entry
