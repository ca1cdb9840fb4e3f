#!/usr/bin/python3
"""The tray of a private desktop: org.kde.StatusNotifierWatcher, which programs ask whether there is a tray at all and
with which they register their icons. `tray` speaks to the icons. Says READY once it owns the name."""

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

WATCHER = "org.kde.StatusNotifierWatcher"
PROPERTIES = "org.freedesktop.DBus.Properties"


class Registration(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(dbus.service.BusName(WATCHER, bus), "/StatusNotifierWatcher")
        self.bus = bus
        self.items = []

    @dbus.service.method(WATCHER, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        item = sender + service if service.startswith("/") else str(service) + "/StatusNotifierItem"
        self.items.append(item)
        self.bus.watch_name_owner(item.partition("/")[0], lambda owner: owner or self.forget(item))

    def forget(self, item):
        if item in self.items:
            self.items.remove(item)

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, _interface, name):
        return self.GetAll(_interface)[name]

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, _interface):
        return dbus.Dictionary({"IsStatusNotifierHostRegistered": True, "ProtocolVersion": dbus.Int32(0),
                                "RegisteredStatusNotifierItems": dbus.Array(self.items, "s")}, "sv")


class Watcher(Registration):
    # Qt looks a property up in the introspection data before it asks for it, and dbus-python writes no properties there.
    @dbus.service.method("org.freedesktop.DBus.Introspectable", out_signature="s", path_keyword="path",
                         connection_keyword="connection")
    def Introspect(self, path=None, connection=None):
        head = f'<interface name="{WATCHER}">'
        known = '<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>'
        return Registration.Introspect(self, path, connection).replace(head, head + known)


def main():
    DBusGMainLoop(set_as_default=True)
    watcher = Watcher(dbus.SessionBus())
    print("READY", flush=True)
    GLib.MainLoop().run()
    return watcher


if __name__ == "__main__":
    main()
