"""Who may read what the program writes, and that it writes through no link or pipe that others have planted."""

import os
import re
import stat
import unittest

from hostile_support import HostileTest
from support import Entry, fault_file, ppc_entry, ppc_file

CREATED = re.compile(r'openat\(AT_FDCWD, "([^"]+)", [^)]*O_CREAT[^)]*, 0(\d+)\) = \d')
SECRETS = ("Options.ini", "registry.sqlite", "journal")


def mode_of(path):
    return stat.S_IMODE(os.lstat(path).st_mode)


class PermissionsTest(HostileTest):
    def under(self, umask):
        before = os.umask(umask)
        self.addCleanup(os.umask, before)

    def whole_run(self, umask):
        """Runs so that everything is written: settings, registry, both journals, documents, PPC data, zip, log."""
        self.under(umask)
        sink = self.start_server()
        site = self.make_site(sink.port, UseZip="True", SMTPPort=str(sink.port))
        site.set_options(TryCount=None)
        site.drop("a.xml", fault_file([Entry()]))
        site.store_ppc("p.xml", ppc_file([ppc_entry("1")]))
        run = self.watched("-fcs", "-ps", port=sink.port)
        self.assertEqual(0, run.status, site.log())
        return run


class Permissions(PermissionsTest):
    def test_secrets_are_readable_by_the_owner_alone_from_their_creation(self):
        for umask in (0, 0o022, 0o077):
            with self.subTest(umask=oct(umask)):
                created = CREATED.findall(self.whole_run(umask).trace)
                secret = [(path, mode) for path, mode in created if any(name in path for name in SECRETS)]
                self.assertTrue(any("Options.ini" in path for path, _ in secret), created)
                self.assertTrue(any("FLog.journal" in path for path, _ in secret), created)
                self.assertEqual([], [one for one in secret if int(one[1], 8) & 0o077])
                for name in ("Options.ini", "registry.sqlite"):
                    self.assertEqual(0, mode_of(self.site.home / name) & 0o077, name)

    def test_documents_and_logs_follow_the_umask(self):
        for umask in (0o022, 0o077):
            with self.subTest(umask=oct(umask)):
                self.whole_run(umask)
                for path in [*self.site.archived(), *self.site.documents(), *self.site.log_files()]:
                    self.assertEqual(0o666 & ~umask, mode_of(path), path)
                for path in (self.site.archive, self.site.process, self.site.error):
                    self.assertEqual(0o777 & ~umask, mode_of(path), path)

    def test_new_registry_is_readable_by_the_owner_alone(self):
        self.under(0)
        site = self.make_site()
        self.assertEqual(0o600, mode_of(site.home / "registry.sqlite"))

    def test_access_of_others_is_removed_with_one_line(self):
        for name in ("Options.ini", "registry.sqlite"):
            with self.subTest(name):
                site = self.make_site()
                self.run_program("-fc")
                (site.home / name).chmod(0o644)
                site.drop("a.xml", fault_file([Entry()]))
                self.assertEqual(0, self.watched("-fc").status, site.log())
                self.assertEqual(0o600, mode_of(site.home / name))
                (line,) = self.errors_about(site.log(), name)
                self.assertIn("was accessible to other users; now only its owner can access it", line)
                self.assertEqual([], self.errors_about(self.log_after("-fc"), name))


class PlantedInTheWay(HostileTest):
    """Links and pipes under the names of files that the program writes."""

    def check(self, *places):
        for make in ("link", "pipe", "dangling link"):
            for place in places:
                with self.subTest(make=make, place=place):
                    sink = self.start_server()
                    site = self.make_site(sink.port, UseZip="True")
                    outside = self.folder / "outside"
                    outside.write_bytes(b"mine")
                    site.run("-fc")
                    path = site.root / place.format(log=site.log_files()[0].name)
                    path.unlink(missing_ok=True)
                    if make == "pipe":
                        os.mkfifo(path)
                    else:
                        path.symlink_to(outside if make == "link" else self.folder / "new")
                    entry = Entry()
                    site.drop("a.xml", fault_file([entry]))
                    site.store_ppc("p.xml", ppc_file([ppc_entry("1")]))
                    self.watched("-fcs", "-ps", port=sink.port)
                    self.assertEqual(b"mine", outside.read_bytes())
                    self.assertFalse((self.folder / "new").exists())
                    self.assertEqual({entry.uid}, set(self.all_entries([*site.archived(), *site.waiting()])))

    def test_scratch_files(self):
        self.check("home/STemp.tmp", "home/PPCData.xml", "home/.PPCData.xml.fieldpost-new",
                   "home/.Options.ini.fieldpost-new")

    def test_files_of_a_run(self):
        self.check("suite/Faultlog/Process/FLog.journal", "suite/Faultlog/Archive/.1.fieldpost-new",
                   "suite/Faultlog/Log/{log}")


if __name__ == "__main__":
    unittest.main()
