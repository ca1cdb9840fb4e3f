// An X server without a screen of glass, for one test, and a client that paints on it.
#pragma once

#include "base/Handle.h"

#include <QColor>
#include <QProcess>
#include <QRect>
#include <QString>
#include <QStringList>
#include <xcb/xcb.h>

#include <memory>
#include <vector>

/// $DISPLAY names it for as long as it lives. The desk's own server is used again afterwards.
class XServer {
public:
    explicit XServer(const QString& screen = QStringLiteral("1280x600x24"), const QStringList& switches = {});
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    ~XServer();

    void pause(); ///< it does not answer any more, and its connections stay
    void resume();
    void kill();
    /// A fresh server at the address of the killed one.
    void restart();

private:
    void start(const QStringList& where);

    QString m_screen;
    QStringList m_switches;
    QByteArray m_displayBefore;
    QProcess m_process;
};

class XPainter {
public:
    struct Look {
        QColor color = Qt::white;
        QString title = {};
        QByteArray oldTitle = {};           ///< WM_NAME, as bytes
        QByteArray application = {};        ///< the class part of WM_CLASS
        bool managed = false;               ///< whether a window manager has a say
        std::vector<QByteArray> type = {};  ///< _NET_WM_WINDOW_TYPE
        std::vector<QByteArray> state = {}; ///< _NET_WM_STATE
        std::int64_t desktop = -1;          ///< _NET_WM_DESKTOP; -1: none
    };

    XPainter();

    /// A shown window of one colour.
    xcb_window_t window(const QRect& place, const Look& look);
    void paint(xcb_window_t window, const QRect& part, const QColor& color);
    void move(xcb_window_t window, int x, int y);
    void hide(xcb_window_t window);
    void destroy(xcb_window_t window);
    /// What a window manager writes: the windows, the frontmost last.
    void list(const std::vector<xcb_window_t>& windows, const char* property = "_NET_CLIENT_LIST_STACKING");
    void setCurrentDesktop(std::uint32_t desktop);

    enum class Output { Real, None };
    /// The one real output belongs to a monitor of its own until another takes it.
    xcb_atom_t monitor(const QByteArray& name, const QRect& place, Output output, bool primary = false);
    void unplug(const QByteArray& monitor);

    [[nodiscard]] xcb_connection_t* get() const { return m_connection.get(); }

private:
    [[nodiscard]] xcb_atom_t atom(const QByteArray& name);
    [[nodiscard]] std::uint32_t pixel(const QColor& color) const;
    void setAtoms(xcb_window_t window, const char* property, const std::vector<QByteArray>& names);
    void setWords(xcb_window_t window, const char* property, xcb_atom_t type, const std::vector<std::uint32_t>& words);
    void sync();

    base::Owned<xcb_connection_t, xcb_disconnect> m_connection;
    const xcb_screen_t* m_screen;
};
