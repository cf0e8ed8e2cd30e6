#!/usr/bin/python3
"""Checks the forms: names and captions of controls, distinct mnemonics, layouts instead of pixels, class names."""

import collections
import re
import sys
import xml.etree.ElementTree as ElementTree

import tree


# Form -> control or menu item -> its caption; None where it has none of its own or the form's source sets it.
CONTROLS = {
    "frmOptions": {
        "frmOptions": "Options", "SSTab1": None,
        "frLatest": "Latest file location", "LVPath": "Path", "txtInputFolder": None, "cmdAddPath": "&Add",
        "cmdBrowserAdd": None, "cmdDeletePath": "&Delete", "cmdLMapNetDriver": "&Map",
        "frArchive": "Archive file location", "txtOutputFolder": None, "cmdArchiveFolder": "&Browse...",
        "cmdAMapNetDriver": "&Map Network Drive", "cmdADisconnect": "&Disconnect Net Drive",
        "frAttachment": "Process file location", "txtProcessFolder": None, "cmdProcessPath": "&Browse...",
        "cmdPMapNetDriver": "&Map Network Drive", "cmdPDisconnect": "&Disconnect Net Drive",
        "txtSMTPserver": "SMTP server", "txtSenderAddres": "Sender E-mail addres : (Required)",
        "txtMailUserName": "Username :", "txtMailPassword": "Password :", "txtMailHostName": "Hostname :",
        "cmdPing": "Test SMTP server connection",
        "fraSettings": "Setting", "ChkMailSetup": "Use default settings", "txtSMTPport": "SMTP port :",
        "txtTryCont": "Try contact :", "txtTimeout": "Time out :",
        "chkFault": "Send faultlogger data:", "txtFaultMailAddress": None, "chkPPC": "Send PPC data",
        "txtPPCMailAddress": None, "chkUseZip": "Zipping attachment files",
        "CmbNumAttachments": "Number of Attachment/ Outgoing mail",
        "txtPartnerID": "Partner ID: (Required)", "txtOrganization": "Company name :",
        "cmdOK": "OK", "cmdClose": "&Close"},
    "frmArchive": {
        "fraProductcode": "Productcode", "CmbProdcode": None, "cmdRefresh": "Refresh", "Toolbar1": None,
        "LVFileList": None, "ProBar1": None},
    "frmArchiveDelete": {
        "freAllProdcode": "All product code", "optDeleteAll": "Delete all items",
        "freThisProdcode": "Selected product code", "optDeleteProcess": "Delete Process items",
        "optDeleteSelected": "Delete selected items", "ProBarDelete": None, "cmdDelete": "&Delete",
        "cmdCancel": "&Cancel"},
    "frmXMLfile": {"TWXML": None, "mnuPrint": None, "mnuClose": None},
    "FrmLogFile": {"txtLogFile": None},
    "frmAboutFP": {
        "frmAboutFP": "About Fieldpost", "freRelease": "Release version information", "txtVersion": None,
        "cmdComponents": "&Components...", "cmdOK": "OK"},
    "frmSending": {"lblSending": None, "lblPerC": None, "ProBar": None},
    "frmProcessPPC": {},
    "MDIFieldpost": {
        "mnuFile": "&File", "mnuMail": "&Mail", "mnuSendData": "&Send Data (Faultlog/PPC)", "mnuLine1": None,
        "mnuClose": "&Close", "mnuView": "&View", "mnuOptions": "&Options", "mnuvali1": None,
        "mnuArchive": "&Archive Windows", "mnuvali2": None, "mnuLogfile": "&View Log File", "mnuHelp": "&Help",
        "mnuFPHelp": "Fieldpost &Help", "mnuvali3": None, "mnuAboutFP": "&About Fieldpost..."},
}

# The given captions themselves repeat these letters on one page or in one menu.
REPEATED = {("frmOptions", "b"), ("frmOptions", "m"), ("frmOptions", "d")}

MNEMONIC = re.compile(r"&([^&\s])")
# The later ones count: an entry of a menu carries only the name of the action that it shows.
NAMED = ("addaction", "action", "widget")


def property_text(element, name):
    """Returns the text of a property; None when the element has none of that name."""
    for one in element.findall("property"):
        if one.get("name") == name:
            return "".join(one.itertext()).strip()
    return None


def captions(element, buddies):
    """Returns every caption of a control: its own, its title, its columns, and the label that is its buddy."""
    own = [property_text(element, name) for name in ("text", "title", "windowTitle")]
    columns = [property_text(column, "text") for column in element.findall("column")]
    return [text for text in [*own, *columns, buddies.get(element.get("name"))] if text]


def control_faults(form, root):
    named = {element.get("name"): element for tag in NAMED for element in root.iter(tag)}
    buddies = {property_text(label, "buddy"): property_text(label, "text") for label in root.iter("widget")}
    faults = []
    for name, caption in CONTROLS.get(form, {}).items():
        if name not in named:
            faults.append(f"no control {name}")
        elif caption is not None and caption not in captions(named[name], buddies):
            faults.append(f"{name} should say \"{caption}\", not {captions(named[name], buddies)}")
    return faults


def scope_letters(element, letters):
    """Adds the mnemonics below a widget, except those of pages and menus, which have sets of their own."""
    for child in element:
        inner = child.tag == "widget" and (child.get("class") == "QMenu" or page_of_tabs(child))
        if child.tag in ("widget", "action") and not page_of_tabs(child):
            for caption in (property_text(child, "text"), property_text(child, "title")):
                found = MNEMONIC.search((caption or "").replace("&&", ""))
                if found:
                    letters[found.group(1).lower()].append(child.get("name"))
        if not inner:
            scope_letters(child, letters)


def page_of_tabs(widget):
    return any(one.get("name") == "title" for one in widget.findall("attribute"))


def mnemonic_faults(form, root):
    window = root.find("widget")
    faults = []
    outside = collections.defaultdict(list)
    actions = {action.get("name"): action for action in window.findall("action")}
    for action in actions.values():
        window.remove(action)
    scope_letters(window, outside)
    pages = [one for one in root.iter("widget") if page_of_tabs(one)]
    for page in pages or [None]:
        letters = collections.defaultdict(list, {letter: list(names) for letter, names in outside.items()})
        if page is not None:
            scope_letters(page, letters)
        faults += repeated(form, letters)
    for menu in (one for one in root.iter("widget") if one.get("class") == "QMenu"):
        letters = collections.defaultdict(list)
        scope_letters(menu, letters)
        entries = ElementTree.Element("menu")
        entries.extend(actions[one.get("name")] for one in menu.findall("addaction") if one.get("name") in actions)
        scope_letters(entries, letters)
        faults += repeated(form, letters)
    window.extend(actions.values())
    return faults


def repeated(form, letters):
    return [f"{', '.join(names)} share the letter {letter}" for letter, names in sorted(letters.items())
            if len(names) > 1 and (form, letter) not in REPEATED]


# Their parts are placed by them.
PLACES_CHILDREN = {"QTabWidget", "QStackedWidget", "QSplitter", "QScrollArea", "QToolBox", "QMainWindow", "QMdiArea",
                   "QMenuBar", "QMenu", "QToolBar", "QStatusBar", "QDockWidget"}


def layout_faults(root):
    faults = []
    for parent in root.iter("widget"):
        if parent.get("class") in PLACES_CHILDREN:
            continue
        for child in parent.findall("widget"):
            faults.append(f"{child.get('name')} is in no layout")
    window = root.find("widget")
    for widget in root.iter("widget"):
        if widget is not window and property_text(widget, "geometry") is not None:
            faults.append(f"{widget.get('name')} is placed by pixels")
    return faults


def faults_in(name, text):
    """Returns every fault of a form as one line. name: the file's, without its ending."""
    root = ElementTree.fromstring(text)
    faults = control_faults(name, root) + mnemonic_faults(name, root) + layout_faults(root)
    if root.findtext("class") != name or root.find("widget").get("name") != name:
        faults.append(f"its class should be {name}")
    return faults


def missing_forms(names):
    return [f"{name}.ui: missing" for name in sorted(set(CONTROLS) - set(names))]


def main():
    forms = [path for path in tree.files("src") if path.suffix == ".ui"]
    faults = missing_forms(path.stem for path in forms)
    for path in forms:
        text = (tree.ROOT / path).read_text(encoding="utf-8")
        faults += [f"{path}: {fault}" for fault in faults_in(path.stem, text)]
    return tree.report(faults)


if __name__ == "__main__":
    sys.exit(main())
