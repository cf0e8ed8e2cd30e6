"""The checks of the tree find what they are there to find."""

import pathlib
import unittest

import check_layers
import check_registered
import check_text


class Layers(unittest.TestCase):
    def faults(self, path, include):
        return len(check_layers.faults_in(path, f"// A line.\n#include {include}\n"))

    def test_table(self):
        for path, include, expected in [
                ("mail/SendLoop.cpp", '"mail/Zip.h"', 0),
                ("mail/SendLoop.cpp", '"common/Text.h"', 0),
                ("mail/SendLoop.cpp", "<vector>", 0),
                ("mail/SendLoop.cpp", "<curl/curl.h>", 0),
                ("mail/SendLoop.cpp", '"faultlog/BuildXML.h"', 1),
                ("faultlog/LatestScan.cpp", '"ppc/ModAttachment.h"', 1),
                ("ppc/PPCAttachments.cpp", '"faultlog/BuildXML.h"', 1),
                ("common/Text.cpp", '"platform/Clock.h"', 1),
                ("common/Text.cpp", "<platform/Clock.h>", 1),
                ("mail/SendLoop.cpp", '"Zip.h"', 1),
                ("mail/SmtpMail.cpp", "<sys/socket.h>", 1),
                ("mail/SmtpMail.cpp", "<unistd.h>", 1),
                ("mail/SmtpMail.cpp", "<windows.h>", 1),
                ("platform/FileSystem_posix.cpp", "<unistd.h>", 0),
                ("mail/SendLoop.cpp", "<QString>", 1),
                ("mail/frmSending.cpp", "<QString>", 0),
                ("mail/frmSending.cpp", '"ui_frmSending.h"', 0),
                ("environment/frmOptions.cpp", '"archive/modMailServerPing.h"', 0),
                ("environment/MailSettings.cpp", '"archive/modMailServerPing.h"', 1),
                ("cellar/Wine.cpp", "<vector>", 1)]:
            with self.subTest(path=path, include=include):
                self.assertEqual(expected, self.faults(path, include))


class Registered(unittest.TestCase):
    def test_cpp(self):
        known = ["mail.SendLoop.Sends", "mail.All/Zips.Packs/0"]
        for text, expected in [("TEST(SendLoop, Sends) {", 0), ("TEST_P(Zips, Packs) {", 0),
                               ("TEST(SendLoop, Send) {", 1), ("TEST_F(Loop, Sends) {", 1), ("int x;", 1)]:
            with self.subTest(text=text):
                self.assertEqual(expected, len(check_registered.cpp_faults("x_test.cpp", text, known)))

    def test_python(self):
        path = pathlib.PurePath("tests/road/test_x.py")
        test = "class X:\n    def test_it(self):\n"
        known = [["python3", "/home/me/tests/road/test_x.py"]]
        for text, commands, expected in [(test, known, 0), (test, [["python3"]], 1), ("", known, 1)]:
            with self.subTest(text=text, commands=commands):
                self.assertEqual(expected, len(check_registered.python_faults(path, text, commands)))


class Text(unittest.TestCase):
    def test_table(self):
        for name, content, expected in [("a.cpp", b"x\n", 0), ("a.cpp", b"", 0), ("a.cpp", b"x", 1),
                                        ("a.cpp", b"x\r\n", 1), ("a.cpp", b"x \n", 1), ("a.cpp", b"\tx\n", 1),
                                        ("Makefile", b"\tx\n", 0), ("a.md", b"\xfc\n", 1)]:
            with self.subTest(name=name, content=content):
                self.assertEqual(expected, len(check_text.faults_in(pathlib.PurePath(name), content)))


if __name__ == "__main__":
    unittest.main()
