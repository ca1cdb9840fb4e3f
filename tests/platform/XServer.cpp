#include "XServer.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

using namespace Qt::StringLiterals;

XServer::XServer(const QString& screen, const QStringList& switches)
    : m_screen(screen)
    , m_switches(switches)
    , m_displayBefore(qgetenv("DISPLAY")) {
    start({u"-displayfd"_s, u"1"_s});
    EXPECT_TRUE(m_process.waitForReadyRead(20000)) << "the X server does not start";
    qputenv("DISPLAY", ":" + m_process.readLine().trimmed());
}

XServer::~XServer() {
    kill();
    qputenv("DISPLAY", m_displayBefore);
}

void XServer::start(const QStringList& where) {
    // Without -noreset the server would forget the monitors whenever its last client leaves.
    m_process.start(u"Xvfb"_s,
                    where + QStringList{u"-screen"_s, u"0"_s, m_screen, u"-nolisten"_s, u"tcp"_s, u"-noreset"_s} +
                        m_switches);
}

void XServer::pause() {
    ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP);
}

void XServer::resume() {
    ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT);
}

void XServer::kill() {
    if (m_process.state() != QProcess::NotRunning) {
        resume();
        m_process.terminate(); // so that it removes its socket
        EXPECT_TRUE(m_process.waitForFinished(20000));
    }
}

void XServer::restart() {
    start({QString::fromLatin1(qgetenv("DISPLAY")), u"-displayfd"_s, u"1"_s});
    EXPECT_TRUE(m_process.waitForReadyRead(20000)) << "the X server does not start again";
}

namespace {

void xrandr(const QStringList& arguments) {
    QProcess process;
    process.start(u"xrandr"_s, arguments);
    EXPECT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

} // namespace

XPainter::XPainter() : m_connection(xcb_connect(nullptr, nullptr)), m_screen(nullptr) {
    EXPECT_EQ(xcb_connection_has_error(get()), 0);
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(get())).data;
}

xcb_window_t XPainter::window(const QRect& place, const Look& look) {
    const xcb_window_t window = xcb_generate_id(get());
    const std::uint32_t values[] = {pixel(look.color), look.managed ? 0U : 1U};
    xcb_create_window(get(), XCB_COPY_FROM_PARENT, window, m_screen->root, static_cast<std::int16_t>(place.x()),
                      static_cast<std::int16_t>(place.y()), static_cast<std::uint16_t>(place.width()),
                      static_cast<std::uint16_t>(place.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    const auto setText = [&](xcb_atom_t property, xcb_atom_t type, const QByteArray& text) {
        if (!text.isEmpty()) {
            xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                                static_cast<std::uint32_t>(text.size()), text.constData());
        }
    };
    setText(atom("_NET_WM_NAME"), atom("UTF8_STRING"), look.title.toUtf8());
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, look.oldTitle);
    if (!look.application.isEmpty()) {
        setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, QByteArray("instance\0", 9) + look.application + '\0');
    }
    setAtoms(window, "_NET_WM_WINDOW_TYPE", look.type);
    setAtoms(window, "_NET_WM_STATE", look.state);
    if (look.desktop >= 0) {
        setWords(window, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {static_cast<std::uint32_t>(look.desktop)});
    }
    // Where the user put it: a window manager leaves such a window there.
    const std::uint32_t sizeHints[18] = {1U /* USPosition */, static_cast<std::uint32_t>(place.x()),
                                         static_cast<std::uint32_t>(place.y())};
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32, 18,
                        sizeHints);
    xcb_map_window(get(), window);
    sync();
    return window;
}

void XPainter::paint(xcb_window_t window, const QRect& part, const QColor& color) {
    const xcb_gcontext_t context = xcb_generate_id(get());
    const std::uint32_t foreground = pixel(color);
    xcb_create_gc(get(), context, window, XCB_GC_FOREGROUND, &foreground);
    const xcb_rectangle_t rectangle{static_cast<std::int16_t>(part.x()), static_cast<std::int16_t>(part.y()),
                                    static_cast<std::uint16_t>(part.width()),
                                    static_cast<std::uint16_t>(part.height())};
    xcb_poly_fill_rectangle(get(), window, context, 1, &rectangle);
    xcb_free_gc(get(), context);
    sync();
}

void XPainter::move(xcb_window_t window, int x, int y) {
    const std::int32_t values[] = {x, y};
    xcb_configure_window(get(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
    sync();
}

void XPainter::hide(xcb_window_t window) {
    xcb_unmap_window(get(), window);
    sync();
}

void XPainter::destroy(xcb_window_t window) {
    xcb_destroy_window(get(), window);
    sync();
}

void XPainter::list(const std::vector<xcb_window_t>& windows, const char* property) {
    setWords(m_screen->root, property, XCB_ATOM_WINDOW, windows);
    sync();
}

void XPainter::setCurrentDesktop(std::uint32_t desktop) {
    setWords(m_screen->root, "_NET_CURRENT_DESKTOP", XCB_ATOM_CARDINAL, {desktop});
    sync();
}

xcb_atom_t XPainter::monitor(const QByteArray& name, const QRect& place, Output output, bool primary) {
    const QString size = u"%1/508x%2/286+%3+%4"_s.arg(place.width()).arg(place.height()).arg(place.x()).arg(place.y());
    const QString shown = (primary ? u"*"_s : QString()) + QString::fromLatin1(name);
    xrandr({u"--setmonitor"_s, shown, size, output == Output::Real ? u"screen"_s : u"none"_s});
    return atom(name);
}

void XPainter::unplug(const QByteArray& monitor) {
    xrandr({u"--delmonitor"_s, QString::fromLatin1(monitor)});
}

xcb_atom_t XPainter::atom(const QByteArray& name) {
    const base::Owned<xcb_intern_atom_reply_t, std::free> reply(xcb_intern_atom_reply(
        get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.constData()), nullptr));
    return reply->atom;
}

std::uint32_t XPainter::pixel(const QColor& color) const {
    const auto red = static_cast<std::uint32_t>(color.red());
    const auto green = static_cast<std::uint32_t>(color.green());
    const auto blue = static_cast<std::uint32_t>(color.blue());
    if (m_screen->root_depth == 16) {
        return (red >> 3U) << 11U | (green >> 2U) << 5U | blue >> 3U;
    }
    return red << 16U | green << 8U | blue;
}

void XPainter::setAtoms(xcb_window_t window, const char* property, const std::vector<QByteArray>& names) {
    std::vector<std::uint32_t> atoms;
    for (const QByteArray& name : names) {
        atoms.push_back(atom(name));
    }
    if (!atoms.empty()) {
        setWords(window, property, XCB_ATOM_ATOM, atoms);
    }
}

void XPainter::setWords(xcb_window_t window, const char* property, xcb_atom_t type,
                        const std::vector<std::uint32_t>& words) {
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, atom(property), type, 32,
                        static_cast<std::uint32_t>(words.size()), words.data());
}

/// The server has done all that was asked for.
void XPainter::sync() {
    const base::Owned<xcb_get_input_focus_reply_t, std::free> reply(
        xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr));
}
