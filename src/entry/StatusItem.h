// The item in the desktop's tray: a sign, a short title and a menu. The controller decides what it shows; where the
// desktop has no tray nothing is shown and nothing is lost.
//   Threads  the main thread
//   Owns     the handlers; they may be called for as long as the item lives
#pragma once

#include <QString>
#include <QStringView>

#include <functional>
#include <vector>

namespace entry {

/// Names of the signs, which are also the names of the pictures.
namespace StatusSymbol {
inline constexpr QStringView idle = u"MenuBarIcon";
inline constexpr QStringView idleFallback = u"record.circle"; ///< where the picture of idle is missing
inline constexpr QStringView recording = u"record.circle.fill";
inline constexpr QStringView warning = u"exclamationmark.triangle";
} // namespace StatusSymbol

enum class StatusTint { None, Red };

struct StatusItemState {
    QString symbol = StatusSymbol::idle.toString();
    QString description; ///< what a screen reader says instead of the sign
    StatusTint tint = StatusTint::None;
    QString title; ///< beside the sign; empty, or a blank and the clock
    QString tooltip;
    bool operator==(const StatusItemState&) const = default;
};

/// What a row of the menu does. None: the row only tells something.
enum class MenuAction {
    None,
    OpenNotice,
    StartRecording,
    StartPractice,
    StopRecording,
    TakeShot,
    ToggleScreenshots,
    OpenWindow,
    OpenLatest,
    OpenAll,
    Quit,
};

/// Rows whose title changes in place while the menu is open.
enum class LiveRow { None, MicMeter, SystemMeter };

struct MenuRow {
    enum class Kind { Item, Separator };
    Kind kind = Kind::Item;
    QString title;
    MenuAction action = MenuAction::None;
    bool enabled = false;
    bool checkable = false;
    bool checked = false;
    LiveRow live = LiveRow::None;

    [[nodiscard]] static MenuRow separator() {
        MenuRow row;
        row.kind = Kind::Separator;
        return row;
    }

    bool operator==(const MenuRow&) const = default;
};

class StatusItem {
public:
    struct Handlers {
        std::function<void()> onMenuOpening; ///< the rows are about to be shown: setMenu may be called from here
        std::function<void(MenuAction)> onAction;
    };

    virtual ~StatusItem() = default;
    virtual void setHandlers(Handlers handlers) = 0;
    virtual void setVisible(bool visible) = 0;
    virtual void setState(const StatusItemState& state) = 0;
    virtual void setMenu(const std::vector<MenuRow>& rows) = 0;
    /// Changes the title of a row in place; nothing if the menu has no such row.
    virtual void setLiveTitle(LiveRow row, const QString& title) = 0;
    /// The sign's name as it is shown, empty while hidden or where there is no tray.
    [[nodiscard]] virtual QString shownSymbol() const = 0;
};

} // namespace entry
