"""A service written with another D-Bus library.

Usage: foreign_service.py ADDRESS

Takes the name qx.bus.foreign and prints "running". Every method takes one argument of type av, as
clients of ours send it, and replies with what its name says: with D-Bus types of its own, or with
variants as well.
"""

import sys

import dbus
import dbus.bus
import dbus.lowlevel
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

NAME = "qx.bus.foreign"
PATH = "/qx/bus/foreign"


def variants(*values):
    """One argument of type av."""
    return dbus.Array(values, signature="v")


def block(*values):
    return dbus.Array([dbus.Byte(value) for value in values], signature="y")


class Foreign(dbus.service.Object):
    @dbus.service.method(NAME, in_signature="av", out_signature="i")
    def number(self, arguments):
        return -7

    @dbus.service.method(NAME, in_signature="av", out_signature="s")
    def text(self, arguments):
        return "gr\u00fc\u00df dich"

    @dbus.service.method(NAME, in_signature="av", out_signature="ay")
    def block(self, arguments):
        return block(0, 1, 255)

    @dbus.service.method(NAME, in_signature="av", out_signature="ay")
    def emptyBlock(self, arguments):
        return block()

    @dbus.service.method(NAME, in_signature="av")
    def nothing(self, arguments):
        pass

    @dbus.service.method(NAME, in_signature="av", out_signature="isay")
    def several(self, arguments):
        return 3, "three", block(3, 3, 3)

    @dbus.service.method(NAME, in_signature="av", out_signature="av")
    def variants(self, arguments):
        return variants(
            dbus.Int16(-1),
            dbus.Int32(-2),
            dbus.UInt64(2**64 - 3),
            dbus.Int64(-4),
            dbus.Double(0.5),
            "six",
            block(7, 7),
        )

    @dbus.service.method(NAME, in_signature="av", out_signature="av")
    def noVariants(self, arguments):
        return variants()

    @dbus.service.method(NAME, in_signature="av", out_signature="v")
    def variant(self, arguments):
        return dbus.Int32(9)

    @dbus.service.method(NAME, in_signature="av", out_signature="qutxybdog")
    def everyNumber(self, arguments):
        return 65535, 2**32 - 1, 2**64 - 1, -1, 200, True, 0.5, "/an/object", "a{sv}"

    @dbus.service.method(NAME, in_signature="av", out_signature="(is)a{sv}aiasi")
    def containers(self, arguments):
        return (1, "one"), {"two": 2}, [3, 3], ["four"], 5

    @dbus.service.method(NAME, in_signature="av", out_signature="s")
    def describe(self, arguments):
        def show(value):
            if isinstance(value, dbus.Array):
                return "Array " + bytes(value).hex()
            return "%s %s" % (type(value).__name__, value)

        return ", ".join(show(value) for value in arguments)

    @dbus.service.method(NAME, in_signature="av")
    def fail(self, arguments):
        raise dbus.DBusException("it does not want to", name="qx.bus.foreign.Error.Unwilling")

    @dbus.service.signal(NAME, signature="iiay")
    def velevent(self, code, vm, record):
        pass

    @dbus.service.method(NAME, in_signature="av")
    def emitNative(self, arguments):
        self.velevent(5, 7, block(1, 2, 3))

    @dbus.service.method(NAME, in_signature="av")
    def emitVariants(self, arguments):
        signal = dbus.lowlevel.SignalMessage(PATH, NAME, "velevent")
        signal.append(
            variants(dbus.Int32(6), dbus.Int32(8), block(4, 5)), signature="av"
        )
        self.connection.send_message(signal)

    @dbus.service.method(NAME, in_signature="av")
    def broadcast(self, arguments):
        signal = dbus.lowlevel.SignalMessage("/elsewhere", "qx.bus.Broadcast", "foreignEvent")
        signal.append(dbus.Int32(11), signature="i")
        self.connection.send_message(signal)


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    connection = dbus.bus.BusConnection(sys.argv[1])
    # Kept: the name is given back with the object.
    service = Foreign(connection, PATH, dbus.service.BusName(NAME, connection, do_not_queue=True))
    print("running", flush=True)
    GLib.MainLoop().run()
    del service


if __name__ == "__main__":
    main()
