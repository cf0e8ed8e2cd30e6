"""The checks of the tree find the faults that they are meant to find."""

import pathlib
import unittest

import check_forms
import check_help
import check_layers
import check_limits
import check_registered
import check_text


class Help(unittest.TestCase):
    BOOK = 'All is well: ... (Title) No such file ... found. A "quoted" word'
    PAGES = {"a.html": '<a name="one"></a><a href="b.html#two">b</a>', "b.html": '<h1 id="two"></h1>', "c.css": ""}
    PROJECT = """<QtHelpProject><filterSection><toc><section ref="a.html#one"/><section ref="b.html"/></toc>
        <keywords><keyword ref="b.html#two"/></keywords>
        <files><file>a.html</file><file>b.html</file><file>c.css</file></files></filterSection></QtHelpProject>"""

    def test_messages(self):
        for code, expected in [
                ('log.WriteLog("All is well", 4);', 0),
                ('log.WriteLog("All is bad", 4);', 1),
                ('log.WriteLog("All is "\n    "well: " + name, 4);', 0),
                ('log.WriteLog("All is "\n    "bad: " + name, 4);', 1),
                ('p.ShowMessage(fmt::format("No such file {} found", f(x)), Icon, "Title");', 0),
                ('p.ShowMessage(fmt::format("No such file {} lost", f(x)), Icon, "Title");', 1),
                ('p.ShowMessage("All is well", Icon, "Other title");', 1),
                ('if (!p.AskYesNo("Really?", Icon, "")) return;', 1),
                ('constexpr std::string_view Text =\n    "gone for good";\nlog.WriteLog(Text, 4);', 1),
                ('constexpr std::string_view Text =\n    "gone for good";\nlog.Other(Text, 4);', 0),
                ('throw FileError("No such file", path, reason);', 0),
                ('throw FileError("cannot go on", path, reason);', 1),
                ('log.WriteLog("A \\"quoted\\" word", 4);', 0),
                ('log.WriteLog("----", 5);', 0),
                ('Show("Anything at all");', 0)]:
            with self.subTest(code=code):
                self.assertEqual(expected, len(check_help.message_faults("x.cpp", code, self.BOOK)))

    def test_explanations(self):
        program = "\n".join(check_help.texts(pathlib.PurePath(name), text) for name, text in [
            ("a.cpp", '// "only a comment"\nThrow("cannot "\n    "read {}: \\"{}\\" is gone", c == \'"\');\nF("too long");'),
            ("a.ui", "<string>Save &amp; close</string>")])
        for message, missing in [
                ("cannot read ...: \"...\" is gone", []), ("cannot <i>read</i> ...", []), ("too long / is gone", []),
                ("cannot write ... / too long", ["cannot write"]), ("only a comment", ["only a comment"]),
                ("read is gone", ["read is gone"]), ("is gone (Save)", []), ("is gone (Load)", ["Load"])]:
            with self.subTest(message=message):
                page = f"<p><b>Other</b></p><tr><td><b>{message}</b></td><td><b>Any</b> meaning</td></tr>"
                self.assertEqual([f'docs/help/messages.html: no source contains "{phrase}"' for phrase in missing],
                                 check_help.explanation_faults(page, program))

    def test_links(self):
        self.assertEqual([], check_help.link_faults(self.PAGES))
        for link, expected in [("b.html", 0), ("b.html#two", 0), ("#one", 0), ("b.html#one", 1), ("d.html", 1),
                               ("#three", 1), ("https://example.org/", 1)]:
            with self.subTest(link=link):
                pages = {**self.PAGES, "a.html": f'<a name="one" href="{link}">x</a>'}
                self.assertEqual(expected, len(check_help.link_faults(pages)))

    def test_project(self):
        for old, new, expected in [("", "", 0), ("<file>b.html</file>", "", 1), ("c.css", "d.css", 2),
                                   ('<section ref="b.html"/>', "", 1), ("b.html#two", "b.html#three", 1),
                                   ('<keyword ref="b.html#two"/>', '<keyword ref="d.html"/>', 1)]:
            with self.subTest(old=old, new=new):
                project = self.PROJECT.replace(old, new) if old else self.PROJECT
                self.assertEqual(expected, len(check_help.project_faults(project, self.PAGES)))


class Layers(unittest.TestCase):
    def faults(self, path, include):
        return len(check_layers.faults_in(path, f"// A line.\n#include {include}\n"))

    def test_refuses_includes_that_modules_do_not_allow(self):
        for path, include, expected in [
                ("outbox/SendLoop.cpp", '"outbox/Zip.h"', 0),
                ("outbox/SendLoop.cpp", '"common/Text.h"', 0),
                ("outbox/SendLoop.cpp", "<vector>", 0),
                ("smtp/SmtpMail.cpp", "<curl/curl.h>", 0),
                ("outbox/SendLoop.cpp", '"faultlog/BuildXML.h"', 1),
                ("faultlog/LatestScan.cpp", '"ppc/ModAttachment.h"', 1),
                ("ppc/PPCAttachments.cpp", '"faultlog/BuildXML.h"', 1),
                ("smtp/SmtpMail.cpp", '"environment/MailSettings.h"', 1),
                ("common/Text.cpp", '"platform/Clock.h"', 1),
                ("common/Text.cpp", "<platform/Clock.h>", 1),
                ("outbox/SendLoop.cpp", '"Zip.h"', 1),
                ("smtp/SmtpMail.cpp", "<sys/socket.h>", 1),
                ("smtp/SmtpMail.cpp", "<unistd.h>", 1),
                ("smtp/SmtpMail.cpp", "<windows.h>", 1),
                ("platform/FileSystem_posix.cpp", "<unistd.h>", 0),
                ("outbox/SendLoop.cpp", "<QString>", 1),
                ("outbox/frmSending.cpp", "<QString>", 1),
                ("outbox/forms/frmSending.cpp", "<QString>", 0),
                ("outbox/forms/frmSending.cpp", '"ui_frmSending.h"', 0),
                ("outbox/forms/frmSending.cpp", '"common/forms/WidgetText.h"', 0),
                ("outbox/forms/frmSending.cpp", '"options/forms/frmOptions.h"', 1),
                ("outbox/SendLoop.cpp", '"outbox/forms/frmSending.h"', 1),
                ("cellar/Wine.cpp", "<vector>", 1)]:
            with self.subTest(path=path, include=include):
                self.assertEqual(expected, self.faults(path, include))


class Limits(unittest.TestCase):
    HEADER = """inline constexpr std::size_t MaxDepth = 1'250;
inline constexpr std::size_t MaxHalfDepth = MaxDepth / 2;
inline constexpr std::uint64_t MaxBytes =
    std::uint64_t{2} * 1024 * 1024;
"""
    PAGE = """<td><span id="MaxDepth">1,250</span>, then <span id="MaxHalfDepth">625</span></td>
<td>2 MiB (<span id="MaxBytes">2,097,152</span> bytes)</td>"""

    def test_compares_the_page_with_the_header(self):
        for old, new, expected in [
                ("", "", []),
                ("1'250", "1'248", ["MaxDepth is 1,250, should be 1,248", "MaxHalfDepth is 625, should be 624"]),
                ("625", "626", ["MaxHalfDepth is 626, should be 625"]),
                (">1,250<", ">1250<", ["MaxDepth is 1250, should be 1,250"]),
                ("2 MiB", "3 MiB", ["MaxBytes is no 3 MiB"]),
                ('id="MaxDepth"', 'id="Other"', ["MaxDepth is missing", "Other is missing"]),
                ("inline constexpr std::uint64_t MaxBytes", "inline constexpr std::uint64_t MaxOther",
                 ["MaxOther is missing", "MaxBytes is missing"])]:
            with self.subTest(new=new):
                faults = check_limits.faults_in(*(text.replace(old, new) if old else text
                                                  for text in (self.HEADER, self.PAGE)))
                self.assertEqual(expected, [fault.partition(": ")[2] for fault in faults])


class Registered(unittest.TestCase):
    def test_cpp(self):
        known = ["outbox.SendLoop.Sends", "outbox.All/Zips.Packs/0"]
        for text, expected in [("TEST(SendLoop, Sends) {", 0), ("TEST_P(Zips, Packs) {", 0),
                               ("TEST(SendLoop, Send) {", 1), ("TEST_F(Loop, Sends) {", 1), ("int x;", 1)]:
            with self.subTest(text=text):
                self.assertEqual(expected, len(check_registered.cpp_faults("x_test.cpp", text, known)))

    def test_python(self):
        path = pathlib.PurePath("tests/system/test_x.py")
        test = "class X:\n    def test_it(self):\n"
        known = [["python3", "/home/me/tests/system/test_x.py"]]
        for text, commands, expected in [(test, known, 0), (test, [["python3"]], 1), ("", known, 1)]:
            with self.subTest(text=text, commands=commands):
                self.assertEqual(expected, len(check_registered.python_faults(path, text, commands)))


class Text(unittest.TestCase):
    def test_refuses_unclean_text(self):
        for name, content, expected in [("a.cpp", b"x\n", 0), ("a.cpp", b"", 0), ("a.cpp", b"x", 1),
                                        ("a.cpp", b"x\r\n", 1), ("a.cpp", b"x \n", 1), ("a.cpp", b"\tx\n", 1),
                                        ("Makefile", b"\tx\n", 0), ("a.md", b"\xfc\n", 1)]:
            with self.subTest(name=name, content=content):
                self.assertEqual(expected, len(check_text.faults_in(pathlib.PurePath(name), content)))


FORM = """<ui version="4.0"><class>frmAboutFP</class><widget class="QDialog" name="frmAboutFP">
<property name="geometry"><rect><width>9</width></rect></property>
<property name="windowTitle"><string>About Fieldpost</string></property>
<layout class="QVBoxLayout" name="layAll">
<item><widget class="QTabWidget" name="tabs">
<widget class="QWidget" name="one"><attribute name="title"><string>One</string></attribute>
<layout class="QVBoxLayout" name="layOne">
<item><widget class="QLabel" name="lblVersion"><property name="text"><string>&amp;Version</string></property>
<property name="buddy"><cstring>txtVersion</cstring></property></widget></item>
<item><widget class="QGroupBox" name="freRelease"><property name="title">
<string>Release version information</string></property><layout class="QVBoxLayout" name="layVersion">
<item><widget class="QLineEdit" name="txtVersion"/></item></layout></widget></item>
</layout></widget>
<widget class="QWidget" name="two"><attribute name="title"><string>Two</string></attribute>
<layout class="QVBoxLayout" name="layTwo">
<item><widget class="QCheckBox" name="chkView"><property name="text"><string>&amp;View &amp;&amp; go</string></property>
</widget></item></layout></widget></widget></item>
<item><widget class="QPushButton" name="cmdComponents">
<property name="text"><string>&amp;Components...</string></property></widget></item>
<item><widget class="QPushButton" name="cmdOK"><property name="text"><string>OK</string></property></widget></item>
</layout></widget></ui>"""

MENUS = """<ui version="4.0"><class>frmMenus</class><widget class="QMainWindow" name="frmMenus">
<widget class="QMenuBar" name="bar"><widget class="QMenu" name="mnuFile">
<property name="title"><string>&amp;File</string></property><addaction name="mnuOpen"/><addaction name="mnuFind"/>
</widget><widget class="QMenu" name="mnuView"><property name="title"><string>&amp;View</string></property>
<addaction name="mnuOften"/></widget></widget>
<action name="mnuOpen"><property name="text"><string>&amp;Open</string></property></action>
<action name="mnuFind"><property name="text"><string>&amp;Find</string></property></action>
<action name="mnuOften"><property name="text"><string>&amp;Often</string></property></action></widget></ui>"""


class Forms(unittest.TestCase):
    def test_names_every_wrong_control(self):
        geometry = '<property name="geometry"><rect><width>9</width></rect></property>'
        for old, new, expected in [
                ("", "", []),
                ('name="txtVersion"', 'name="txtVersions"', ["no control txtVersion"]),
                ("&amp;Components...", "&amp;Components", ['cmdComponents should say "&Components..."']),
                ("Release version information", "Release", ['freRelease should say "Release version']),
                ("About Fieldpost", "About", ['frmAboutFP should say "About Fieldpost"']),
                ("&amp;View", "&amp;Code", ["cmdComponents, chkView share the letter c"]),
                ("&amp;Version", "&amp;Code", ["cmdComponents, lblVersion share the letter c"]),
                ('name="txtVersion"/>', f'name="txtVersion">{geometry}</widget>', ["txtVersion is placed by pixels"]),
                ('name="txtVersion"/>', 'name="txtVersion"><widget class="QLabel" name="lost"/></widget>',
                 ["lost is in no layout"]),
                ("<class>frmAboutFP", "<class>frmAbout", ["its class should be frmAboutFP"])]:
            with self.subTest(new=new):
                faults = check_forms.faults_in("frmAboutFP", FORM.replace(old, new) if old else FORM)
                self.assertEqual(len(expected), len(faults), faults)
                for start, fault in zip(expected, faults):
                    self.assertTrue(fault.startswith(start), fault)

    def test_menus(self):
        for old, new, expected in [("", "", []), ("&amp;View", "&amp;Fit", ["mnuFile, mnuView share the letter f"]),
                                   ("&amp;Find", "F&amp;oo", ["mnuOpen, mnuFind share the letter o"])]:
            with self.subTest(new=new):
                text = MENUS.replace(old, new) if old else MENUS
                self.assertEqual(expected, check_forms.faults_in("frmMenus", text))

    def test_captions_of_menu_items(self):
        text = MENUS.replace("frmMenus", "MDIFieldpost").replace("mnuOpen", "mnuOptions")
        self.assertIn('mnuOptions should say "&Options", not [\'&Open\']', check_forms.faults_in("MDIFieldpost", text))
        text = text.replace("&amp;Open", "&amp;Options")
        self.assertEqual([], [fault for fault in check_forms.faults_in("MDIFieldpost", text) if "mnuOptions s" in fault])

    def test_the_name_of_the_window_is_that_of_the_file(self):
        text = MENUS.replace('QMainWindow" name="frmMenus"', 'QMainWindow" name="window"')
        self.assertEqual(["its class should be frmMenus"], check_forms.faults_in("frmMenus", text))

    def test_missing(self):
        self.assertEqual([], check_forms.missing_forms(check_forms.CONTROLS))
        self.assertEqual(["frmOptions.ui: missing"],
                         check_forms.missing_forms(check_forms.CONTROLS.keys() - {"frmOptions"}))


if __name__ == "__main__":
    unittest.main()
