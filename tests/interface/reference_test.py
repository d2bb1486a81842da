"""scripts/interface: the shared library has the interface that is written down, and a change is seen."""

import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import sys
import tempfile
import unittest

import results

RESULTS, LIBRARY, COMPILER, NM = sys.argv[1:5]
SCRIPT = pathlib.Path(__file__).resolve().parent.parent.parent / "scripts/interface"

loader = importlib.machinery.SourceFileLoader("interface", str(SCRIPT))
interface = importlib.util.module_from_spec(importlib.util.spec_from_loader("interface", loader))
loader.exec_module(interface)


def compared(reference):
    """The exit status and the output of a comparison with a text."""
    out = io.StringIO()
    with tempfile.NamedTemporaryFile("w") as file, contextlib.redirect_stdout(out):
        file.write(reference)
        file.flush()
        interface.REFERENCE = pathlib.Path(file.name)
        sys.argv = ["interface", "--library", LIBRARY, "--compiler", COMPILER, "--nm", NM]
        status = interface.main()
    return status, out.getvalue()


class Reference(unittest.TestCase):
    text = interface.REFERENCE.read_text()

    def expect_difference(self, old, new, shown):
        self.assertIn(old, self.text)
        status, said = compared(self.text.replace(old, new, 1))
        self.assertEqual(status, 1)
        self.assertIn(shown, said)
        self.assertIn("scripts/interface --library LIBRARY --update", said)

    def test_is_the_interface_of_the_library(self):
        self.assertEqual(compared(self.text), (0, ""))

    def test_shows_a_symbol_that_has_gone(self):
        self.expect_difference("  T qx::checkIpAddr(", "  T qx::checkAddr(", "-  T qx::checkAddr(")

    def test_shows_operations_that_have_changed_places(self):
        self.expect_difference("   14 int RegisterPrinterCallback(PrinterCallback, void *)\n"
                               "   15 int UnregisterPrinterCallback()\n",
                               "   14 int UnregisterPrinterCallback()\n"
                               "   15 int RegisterPrinterCallback(PrinterCallback, void *)\n",
                               "-   14 int UnregisterPrinterCallback()")

    def test_shows_a_field_that_has_moved(self):
        self.expect_difference("   296 char[128] name", "   300 char[128] name", "-   300 char[128] name")

    def test_shows_an_object_that_has_grown(self):
        self.expect_difference("qx::VelProxy: 640 bytes", "qx::VelProxy: 632 bytes", "+qx::VelProxy: 640 bytes")


if __name__ == "__main__":
    results.main("InterfaceReference", RESULTS)
