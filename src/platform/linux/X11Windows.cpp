#include "platform/linux/X11Windows.h"

#include <QList>
#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>

namespace platform::linux_desktop::X11Windows {

namespace {

constexpr std::uint32_t maxTextWords = 1024; ///< of 4 bytes: a longer title is cut
constexpr std::uint32_t maxAtoms = 64;
constexpr std::uint32_t allDesktops = 0xFFFFFFFF;

struct Atoms {
    xcb_atom_t clientListStacking = XCB_ATOM_NONE;
    xcb_atom_t clientList = XCB_ATOM_NONE;
    xcb_atom_t currentDesktop = XCB_ATOM_NONE;
    xcb_atom_t desktop = XCB_ATOM_NONE;
    xcb_atom_t name = XCB_ATOM_NONE;
    xcb_atom_t state = XCB_ATOM_NONE;
    xcb_atom_t stateHidden = XCB_ATOM_NONE;
    xcb_atom_t stateAbove = XCB_ATOM_NONE;
    xcb_atom_t type = XCB_ATOM_NONE;
    xcb_atom_t typeNormal = XCB_ATOM_NONE;
    xcb_atom_t typeDialog = XCB_ATOM_NONE;
};

struct NamedAtom {
    std::string_view name;
    xcb_atom_t Atoms::* member;
};

constexpr std::array<NamedAtom, 11> namedAtoms{{
    {"_NET_CLIENT_LIST_STACKING", &Atoms::clientListStacking},
    {"_NET_CLIENT_LIST", &Atoms::clientList},
    {"_NET_CURRENT_DESKTOP", &Atoms::currentDesktop},
    {"_NET_WM_DESKTOP", &Atoms::desktop},
    {"_NET_WM_NAME", &Atoms::name},
    {"_NET_WM_STATE", &Atoms::state},
    {"_NET_WM_STATE_HIDDEN", &Atoms::stateHidden},
    {"_NET_WM_STATE_ABOVE", &Atoms::stateAbove},
    {"_NET_WM_WINDOW_TYPE", &Atoms::type},
    {"_NET_WM_WINDOW_TYPE_NORMAL", &Atoms::typeNormal},
    {"_NET_WM_WINDOW_TYPE_DIALOG", &Atoms::typeDialog},
}};

std::expected<Atoms, X11Error> internAtoms(X11Connection& connection) {
    std::array<xcb_intern_atom_cookie_t, namedAtoms.size()> cookies{};
    for (std::size_t index = 0; index < namedAtoms.size(); ++index) {
        const std::string_view name = namedAtoms[index].name;
        cookies[index] = xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    }
    Atoms atoms;
    for (std::size_t index = 0; index < namedAtoms.size(); ++index) {
        const auto reply = connection.reply<xcb_intern_atom_reply_t>(cookies[index]);
        if (!reply) {
            return std::unexpected(reply.error());
        }
        atoms.*namedAtoms[index].member = (*reply)->atom;
    }
    return atoms;
}

xcb_get_property_cookie_t askProperty(X11Connection& connection, xcb_window_t window, xcb_atom_t name,
                                      std::uint32_t words) {
    return xcb_get_property(connection.get(), 0, window, name, XCB_ATOM_ANY, 0, words);
}

using Property = base::Owned<xcb_get_property_reply_t, std::free>;

/// The values of a property of 32 bits; empty for any other.
std::span<const std::uint32_t> words(const Property& property) {
    if (property->format != 32) {
        return {};
    }
    return {static_cast<const std::uint32_t*>(xcb_get_property_value(property.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(property.get())) / sizeof(std::uint32_t)};
}

QByteArray bytes(const Property& property) {
    if (property->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(property.get())),
            xcb_get_property_value_length(property.get())};
}

std::expected<Property, X11Error> property(X11Connection& connection, xcb_window_t window, xcb_atom_t name,
                                           std::uint32_t words) {
    return connection.reply<xcb_get_property_reply_t>(askProperty(connection, window, name, words));
}

std::expected<std::vector<xcb_window_t>, X11Error> clients(X11Connection& connection, const Atoms& atoms) {
    for (const xcb_atom_t list : {atoms.clientListStacking, atoms.clientList}) {
        const auto stored = property(connection, connection.screen().root, list, maxWindows);
        if (!stored) {
            return std::unexpected(stored.error());
        }
        const auto values = words(*stored);
        if (!values.empty()) {
            return std::vector<xcb_window_t>(values.rbegin(), values.rend()); // the property has the frontmost last
        }
    }
    return {};
}

std::expected<std::uint32_t, X11Error> currentDesktop(X11Connection& connection, const Atoms& atoms) {
    const auto stored = property(connection, connection.screen().root, atoms.currentDesktop, 1);
    if (!stored) {
        return std::unexpected(stored.error());
    }
    const auto values = words(*stored);
    return values.empty() ? allDesktops : values.front();
}

/// All that is asked about one window, sent before the first reply is waited for.
struct Questions {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t position;
    xcb_get_property_cookie_t name;
    xcb_get_property_cookie_t oldName;
    xcb_get_property_cookie_t windowClass;
    xcb_get_property_cookie_t desktop;
    xcb_get_property_cookie_t state;
    xcb_get_property_cookie_t type;
};

Questions ask(X11Connection& connection, const Atoms& atoms, xcb_window_t window) {
    auto* xcb = connection.get();
    return {
        .attributes = xcb_get_window_attributes(xcb, window),
        .geometry = xcb_get_geometry(xcb, window),
        .position = xcb_translate_coordinates(xcb, window, connection.screen().root, 0, 0),
        .name = askProperty(connection, window, atoms.name, maxTextWords),
        .oldName = askProperty(connection, window, XCB_ATOM_WM_NAME, maxTextWords),
        .windowClass = askProperty(connection, window, XCB_ATOM_WM_CLASS, maxTextWords),
        .desktop = askProperty(connection, window, atoms.desktop, 1),
        .state = askProperty(connection, window, atoms.state, maxAtoms),
        .type = askProperty(connection, window, atoms.type, maxAtoms),
    };
}

/// What a window said about itself; a reply is missing when the window is gone.
struct Answers {
    X11Reply<xcb_get_window_attributes_reply_t> attributes;
    X11Reply<xcb_get_geometry_reply_t> geometry;
    X11Reply<xcb_translate_coordinates_reply_t> position;
    X11Reply<xcb_get_property_reply_t> name;
    X11Reply<xcb_get_property_reply_t> oldName;
    X11Reply<xcb_get_property_reply_t> windowClass;
    X11Reply<xcb_get_property_reply_t> desktop;
    X11Reply<xcb_get_property_reply_t> state;
    X11Reply<xcb_get_property_reply_t> type;

    [[nodiscard]] bool complete() const {
        return attributes && geometry && position && name && oldName && windowClass && desktop && state && type;
    }
};

Answers hear(X11Connection& connection, const Questions& questions) {
    return {
        .attributes = connection.reply<xcb_get_window_attributes_reply_t>(questions.attributes),
        .geometry = connection.reply<xcb_get_geometry_reply_t>(questions.geometry),
        .position = connection.reply<xcb_translate_coordinates_reply_t>(questions.position),
        .name = connection.reply<xcb_get_property_reply_t>(questions.name),
        .oldName = connection.reply<xcb_get_property_reply_t>(questions.oldName),
        .windowClass = connection.reply<xcb_get_property_reply_t>(questions.windowClass),
        .desktop = connection.reply<xcb_get_property_reply_t>(questions.desktop),
        .state = connection.reply<xcb_get_property_reply_t>(questions.state),
        .type = connection.reply<xcb_get_property_reply_t>(questions.type),
    };
}

bool holds(const Property& property, xcb_atom_t atom) {
    return std::ranges::find(words(property), atom) != words(property).end();
}

bool isShown(const Answers& answers, const Atoms& atoms, std::uint32_t desktopNow) {
    const auto desktop = words(*answers.desktop);
    const bool here =
        desktop.empty() || desktop.front() == allDesktops || desktopNow == allDesktops || desktop.front() == desktopNow;
    return here && (*answers.attributes)->map_state == XCB_MAP_STATE_VIEWABLE &&
           !holds(*answers.state, atoms.stateHidden);
}

/// 0 for ordinary windows and dialogs; panels, menus, and what is kept above all others lie in another layer.
int layerOf(const Answers& answers, const Atoms& atoms) {
    const bool ordinary = words(*answers.type).empty() || holds(*answers.type, atoms.typeNormal) ||
                          holds(*answers.type, atoms.typeDialog);
    return ordinary && !holds(*answers.state, atoms.stateAbove) ? 0 : 1;
}

capture::PickerWindow windowOf(const Answers& answers, const Atoms& atoms) {
    const QByteArray name = bytes(*answers.name);
    return {
        .bundleID = applicationId(bytes(*answers.windowClass)),
        .title = titleText(name.isEmpty() ? bytes(*answers.oldName) : name),
        .frame = {.x = static_cast<double>((*answers.position)->dst_x),
                  .y = static_cast<double>((*answers.position)->dst_y),
                  .width = static_cast<double>((*answers.geometry)->width),
                  .height = static_cast<double>((*answers.geometry)->height)},
        .layer = layerOf(answers, atoms),
    };
}

} // namespace

QString applicationId(const QByteArray& wmClass) {
    const QList<QByteArray> parts = wmClass.split('\0');
    const QByteArray& instance = parts.front();
    return titleText(parts.size() > 1 && !parts[1].isEmpty() ? parts[1] : instance);
}

QString titleText(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString::fromLatin1(bytes) : text;
}

std::expected<std::vector<capture::PickerWindow>, X11Error> onScreen(X11Connection& connection) {
    const auto atoms = internAtoms(connection);
    if (!atoms) {
        return std::unexpected(atoms.error());
    }
    const auto listed = clients(connection, *atoms);
    const auto desktop = currentDesktop(connection, *atoms);
    if (!listed || !desktop) {
        return std::unexpected(listed ? desktop.error() : listed.error());
    }
    std::vector<Questions> questions;
    questions.reserve(listed->size());
    for (const xcb_window_t window : *listed) {
        questions.push_back(ask(connection, *atoms, window));
    }
    std::vector<capture::PickerWindow> shown;
    for (const Questions& asked : questions) {
        const Answers answers = hear(connection, asked);
        if (answers.complete() && isShown(answers, *atoms, *desktop)) {
            shown.push_back(windowOf(answers, *atoms));
        }
    }
    if (connection.isDead()) {
        return std::unexpected(X11Error{});
    }
    return shown;
}

} // namespace platform::linux_desktop::X11Windows
