#include "ui/PlainWindow.h"

#include "base/Files.h"
#include "copy/MainCopy.h"
#include "copy/Strings.h"
#include "ui/LevelBar.h"
#include "ui/Present.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <utility>

namespace ui {

namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;
using Kind = RecordButtonState::Kind;

namespace {

constexpr int margin = 24;
constexpr int gap = 12;
constexpr int windowWidth = 360;
const QColor levelGreen(0x1B, 0x7A, 0x3D);

// Red is for recording alone; the focus ring is never taken away.
const QString looks = uR"(
QPushButton { padding: 9px 16px; border: 1px solid #CFCFD5; border-radius: 8px; background: #FFFFFF; color: #1D1D1F; }
QPushButton:hover { background: #F1F1F3; }
QPushButton:disabled { color: #8A8A90; }
QPushButton:focus { border: 2px solid #5B3FD9; padding: 8px 15px; }
QPushButton#record { background: #D92D20; color: #FFFFFF; border-color: #D92D20; font-weight: bold; }
QPushButton#record:hover { background: #C9271B; }
QPushButton#record:focus { border: 2px solid #5B3FD9; }
QPushButton#record:disabled { background: #F1F1F3; color: #8A8A90; border-color: #F1F1F3; }
QPushButton#record[recording="true"] { background: #FFFFFF; color: #D92D20; border: 2px solid #D92D20; }
QPushButton#notice { border: none; color: #8F5600; text-align: left; padding: 4px; background: transparent; }
QLabel#status { color: #474747; }
)"_s;

} // namespace

PlainWindow::PlainWindow() {
    setWindowTitle(Strings::appName);
    setWindowIcon(QIcon(u":/icons/app.svg"_s));
    setFixedWidth(windowWidth);
    setStyleSheet(looks);
    buildControls();
    arrange();
    setRecording(RecordButtonState::idle(), std::nullopt, false);
}

PlainWindow::~PlainWindow() = default;

void PlainWindow::buildControls() {
    const auto& copy = copy::MainCopy::current();
    m_status = new QLabel(this);
    m_status->setObjectName(u"status"_s);
    m_record = new QPushButton(this);
    m_record->setObjectName(u"record"_s);
    m_record->setDefault(true);
    m_practice = new QPushButton(copy.startPractice, this);
    m_shot = new QPushButton(Strings::menuShot, this);
    m_notice = new QPushButton(this);
    m_notice->setObjectName(u"notice"_s);
    m_notice->hide();
    m_keepCard = buildKeepCard();
    m_mic = new LevelBar(Strings::meterMine, levelGreen);
    m_system = new LevelBar(Strings::meterTheirs, levelGreen);
    connect(m_record, &QPushButton::clicked, this, [this] { recordPressed(); });
    connect(m_practice, &QPushButton::clicked, this, [this] { m_handlers.onStartPractice(); });
    connect(m_shot, &QPushButton::clicked, this, [this] { m_handlers.onShot(); });
    connect(m_notice, &QPushButton::clicked, this, [this] { m_handlers.onNotice(); });
}

QWidget* PlainWindow::buildKeepCard() {
    const auto& copy = copy::MainCopy::current();
    auto* card = new QWidget(this);
    auto* title = new QLabel(copy.keepTitle, card);
    auto* sub = new QLabel(copy.keepSub, card);
    sub->setWordWrap(true);
    auto* discard = new QPushButton(copy.keepDiscard, card);
    m_keep = new QPushButton(copy.keepKeep, card);
    auto* column = new QVBoxLayout(card);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(title);
    column->addWidget(sub);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(discard);
    buttons->addWidget(m_keep);
    column->addLayout(buttons);
    connect(discard, &QPushButton::clicked, this, [this] { m_handlers.onKeepAnswer(practice::KeepEvent::Discard); });
    connect(m_keep, &QPushButton::clicked, this, [this] { m_handlers.onKeepAnswer(practice::KeepEvent::Keep); });
    card->hide();
    return card;
}

void PlainWindow::arrange() {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(gap);
    column->addWidget(m_record);
    auto* others = new QHBoxLayout;
    others->addWidget(m_practice);
    others->addWidget(m_shot);
    column->addLayout(others);
    column->addWidget(m_status);
    column->addWidget(m_mic);
    column->addWidget(m_system);
    column->addWidget(m_notice);
    column->addWidget(m_keepCard);
}

void PlainWindow::setHandlers(Handlers handlers) {
    m_handlers = std::move(handlers);
}

void PlainWindow::show() {
    present(*this);
}

void PlainWindow::recordPressed() {
    if (m_state.kind == Kind::Recording) {
        m_handlers.onStop();
    } else {
        m_handlers.onStart();
    }
}

void PlainWindow::setMenu(const AppMenuState& state) {
    m_record->setEnabled(state.enabled);
    m_practice->setVisible(state.idle);
    m_practice->setEnabled(state.enabled && state.idle);
    m_shot->setEnabled(state.recording && state.canShoot);
}

void PlainWindow::setRecording(const RecordButtonState& state, const std::optional<QString>& notice, bool practice) {
    const auto& copy = copy::MainCopy::current();
    const bool recording = state.kind == Kind::Recording;
    const QString clock = Strings::clock(state.elapsedSeconds);
    const QString stopTitle = practice ? copy.stopPractice(clock) : copy.stopRecording(clock);
    m_record->setText(recording ? stopTitle : copy.startRecording);
    if (recording != (m_state.kind == Kind::Recording)) {
        m_record->setProperty("recording", recording);
        m_record->style()->unpolish(m_record); // only so are the rules of the style looked at again
        m_record->style()->polish(m_record);
        setLevels(0, 0);
    }
    m_system->setVisible(!practice);
    m_state = state;
    switch (state.kind) {
    case Kind::Idle:
        m_status->setText(Strings::statusIdle);
        break;
    case Kind::Starting:
        m_status->setText(Strings::mainStarting);
        break;
    case Kind::Recording:
        m_status->setText(practice ? Strings::statusPracticing(clock) : Strings::statusRecording(clock));
        break;
    case Kind::Stopping:
        m_status->setText(Strings::mainStopping);
        break;
    }
    m_notice->setText(notice.value_or(QString()));
    m_notice->setVisible(notice.has_value());
}

void PlainWindow::setPending(const std::optional<double>&, int, bool) {
    // This window has no list in which a running or waiting recording would stand.
}

void PlainWindow::setLevels(double mic, double system) {
    m_mic->setLevel(mic);
    m_system->setLevel(system);
}

void PlainWindow::reload() {}

void PlainWindow::askKeep(const std::filesystem::path& folder) {
    m_keepFolder = folder;
    show();
    refreshKeepCard();
}

void PlainWindow::refreshKeepCard() {
    const bool open = m_handlers.keepPending && m_handlers.keepPending(m_keepFolder);
    m_keepCard->setVisible(open);
    m_keep->setDefault(open); // Return answers the question while there is one
    m_record->setDefault(!open);
    if (open) {
        m_keep->setFocus();
    }
}

bool PlainWindow::keepCardShown() const {
    return !m_keepCard->isHidden();
}

QString PlainWindow::keepCardLine() const {
    const auto& copy = copy::MainCopy::current();
    const QString card = copy.keepTitle + u" | "_s + copy.keepSub + u" | "_s + copy.keepDiscard + u" | "_s +
                         copy.keepKeep + u" (primary, Enter)"_s;
    const QString place = keepCardShown() ? u" shown on: "_s + base::nameText(m_keepFolder) : u" hidden"_s;
    return Strings::keepCardLine(card) + place;
}

void PlainWindow::closeEvent(QCloseEvent* event) {
    if (keepCardShown()) {
        m_handlers.onKeepAnswer(practice::KeepEvent::WindowClosed);
    }
    QWidget::closeEvent(event);
    m_handlers.onClosed();
}

void PlainWindow::commitEdits() {}

} // namespace ui
