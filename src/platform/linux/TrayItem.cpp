#include "platform/linux/TrayItem.h"

#include <QAction>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QMenu>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <QSystemTrayIcon>

#include <utility>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;
using entry::MenuRow;

namespace {

const QString watcherService = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;
const QColor recordRed(0xD9, 0x2D, 0x20);

/// The file of a sign. The pictures of the idle sign have a name of their own.
QString pictureFile(const QString& symbol) {
    const QString name = symbol == entry::StatusSymbol::idle ? u"menubar"_s : symbol;
    return u":/icons/"_s + name + u".svg"_s;
}

/// The sign drawn in one colour, in the sizes that trays use.
QIcon picture(const QString& symbol, const QColor& colour) {
    QFile file(pictureFile(symbol));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QByteArray drawing = file.readAll();
    drawing.replace("currentColor", colour.name().toLatin1());
    QSvgRenderer renderer(drawing);
    QIcon icon;
    for (const int size : {16, 18, 22, 24, 32, 36, 44, 48}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        icon.addPixmap(pixmap);
    }
    return icon;
}

QColor colourOf(entry::StatusTint tint) {
    return tint == entry::StatusTint::Red ? recordRed : QGuiApplication::palette().color(QPalette::WindowText);
}

} // namespace

TrayItem::TrayItem() : m_menu(std::make_unique<QMenu>()) {
    connect(m_menu.get(), &QMenu::aboutToShow, this, [this] {
        m_menuOpen = true;
        if (m_handlers.onMenuOpening) {
            m_handlers.onMenuOpening();
        }
    });
    connect(m_menu.get(), &QMenu::aboutToHide, this, [this] { m_menuOpen = false; });
    auto bus = QDBusConnection::sessionBus();
    auto* watcher = new QDBusServiceWatcher(watcherService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { askForHost(); });
    bus.connect(watcherService, watcherPath, watcherService, u"StatusNotifierHostRegistered"_s, this,
                SLOT(hostAppeared()));
    askForHost();
}

TrayItem::~TrayItem() = default;

void TrayItem::askForHost() {
    QDBusMessage question =
        QDBusMessage::createMethodCall(watcherService, watcherPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question.setAutoStartService(false);
    question << watcherService << u"IsStatusNotifierHostRegistered"_s;
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid() && reply.value().variant().toBool()) {
            hostAppeared();
        }
        answer->deleteLater();
    });
}

void TrayItem::hostAppeared() {
    m_hostThere = true;
    makeIcon();
}

void TrayItem::makeIcon() {
    if (m_icon || !m_hostThere || !m_visible) {
        return;
    }
    m_icon = std::make_unique<QSystemTrayIcon>();
    connect(m_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason != QSystemTrayIcon::Context && m_handlers.onAction) {
            m_handlers.onAction(entry::MenuAction::OpenWindow);
        }
    });
    showState();
    m_icon->setContextMenu(m_menu.get());
    m_icon->show();
}

void TrayItem::setHandlers(Handlers handlers) {
    m_handlers = std::move(handlers);
}

void TrayItem::setVisible(bool visible) {
    m_visible = visible;
    makeIcon();
    if (m_icon) {
        m_icon->setVisible(visible);
    }
}

void TrayItem::setState(const entry::StatusItemState& state) {
    const bool sameSign = state.symbol == m_state.symbol && state.tint == m_state.tint;
    m_state = state;
    if (m_icon && sameSign) {
        m_icon->setToolTip(m_state.tooltip); // every second, so the pictures are not drawn again
    } else if (m_icon) {
        showState();
    }
}

void TrayItem::showState() {
    QIcon icon = picture(m_state.symbol, colourOf(m_state.tint));
    if (icon.isNull()) {
        icon = picture(entry::StatusSymbol::idleFallback.toString(), colourOf(m_state.tint));
    }
    m_icon->setIcon(icon);
    m_icon->setToolTip(m_state.tooltip);
}

void TrayItem::setMenu(const std::vector<MenuRow>& rows) {
    if (rows == m_rows) {
        return;
    }
    m_rows = rows;
    m_liveActions.clear();
    m_menu->clear();
    for (const MenuRow& row : rows) {
        addRow(row);
    }
}

void TrayItem::addRow(const MenuRow& row) {
    if (row.kind == MenuRow::Kind::Separator) {
        m_menu->addSeparator();
        return;
    }
    QString title = row.title;
    QAction* action = m_menu->addAction(title.replace(u'&', u"&&"_s)); // a folder's name is no shortcut
    action->setEnabled(row.enabled);
    action->setCheckable(row.checkable);
    action->setChecked(row.checked);
    if (row.live != entry::LiveRow::None) {
        m_liveActions[row.live] = action;
    }
    connect(action, &QAction::triggered, this, [this, what = row.action] {
        if (m_handlers.onAction) {
            m_handlers.onAction(what);
        }
    });
}

void TrayItem::setLiveTitle(entry::LiveRow row, const QString& title) {
    // While nobody looks, five changes a second would only keep the bus busy.
    if (const auto found = m_liveActions.find(row); m_menuOpen && found != m_liveActions.end()) {
        found->second->setText(title);
    }
}

QString TrayItem::shownSymbol() const {
    return m_icon && m_visible ? m_state.symbol : QString();
}

} // namespace platform::linux_desktop
