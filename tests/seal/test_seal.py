"""The signing tool: what it seals, and that it finds and names whatever is not as it was sealed."""

import hashlib
import os
import pathlib
import resource
import shutil
import signal
import subprocess
import tempfile
import unittest

TOOL = os.environ["COBBLET_CODESIGN"]
SIGN = ["--force", "--deep", "--sign", "-"]
VERIFY = ["--verify", "--strict"]
SEAL = "Contents/_CodeSignature"
MANIFEST = SEAL + "/CodeResources"
PLIST = "Contents/Info.plist"
PROGRAM = "Contents/MacOS/cobblet"
LINK = "Contents/Resources/link"
FOLDER = "Contents/Resources/folder"
ODD = os.fsdecode(b"Contents/Resources/odd \xff\n%41 \x1b[31m\xc3\xbc")
ODD_PRINTED = "Contents/Resources/odd %FF%0A%2541 %1B[31m%C3%BC"

ADDED = "was added after the bundle was sealed."


def run(*arguments, **options):
    """The tool's exit status and what it wrote; it has nothing to say on standard output."""
    result = subprocess.run([TOOL, *arguments], capture_output=True, timeout=20, check=False, **options)
    assert result.stdout == b"", result.stdout
    return result.returncode, result.stderr.decode("ascii")


class Seal(unittest.TestCase):
    def setUp(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="seal-"))
        self.addCleanup(shutil.rmtree, folder)
        self.bundle = folder / "My Group.app"
        for name in (PLIST, PROGRAM, "outside", FOLDER + "/deep", ODD):
            self.at(name).parent.mkdir(parents=True, exist_ok=True)
            self.at(name).write_bytes(os.fsencode(name) * 6000)
        self.at(PROGRAM).chmod(0o755)
        self.at(LINK).symlink_to("folder/deep")

    def at(self, name):
        return self.bundle / name

    def assert_says(self, arguments, *sentences, **options):
        self.assertEqual(run(*arguments, self.bundle, **options),
                         (1 if sentences else 0, "".join(f"codesign: {sentence}\n" for sentence in sentences)))

    def test_a_seal_names_every_file_and_link_and_goes_where_the_bundle_goes(self):
        self.assert_says(SIGN)
        lines = [line.split("\t") for line in self.at(MANIFEST).read_text(encoding="ascii").splitlines()[1:]]
        files = [PLIST, PROGRAM, LINK, ODD_PRINTED, "outside", FOLDER + "/deep"]
        self.assertEqual([line[3] for line in lines], sorted(files))
        self.assertIn(["F", hashlib.sha256(self.at(PROGRAM).read_bytes()).hexdigest(), "ugo", PROGRAM], lines)
        self.assertIn(["L", "folder/deep", "", LINK], lines)
        copy = self.bundle.with_name("Copy.app")
        subprocess.run(["cp", "-a", self.bundle, copy], check=True)
        copy.with_name("link").symlink_to(copy)
        self.assertEqual(run(*VERIFY, copy.with_name("link")), (0, ""))

    def test_every_kind_of_tampering_is_found_and_named(self):
        at = self.at

        def replace(name, make):
            at(name).rename(self.bundle.with_name("moved"))
            make(at(name))

        rows = [(lambda: at(PROGRAM).write_bytes(at(PROGRAM).read_bytes()[:-1] + b"x"),
                 [f"{PROGRAM} was changed after the bundle was sealed."]),
                (lambda: at(ODD).unlink(), [f"{ODD_PRINTED} is missing."]),
                (lambda: at("Contents/.hidden").touch(), [f"Contents/.hidden {ADDED}"]),
                (lambda: replace(PLIST, lambda path: path.symlink_to("../../moved")),
                 [f"{PLIST} is of another kind than when the bundle was sealed."]),
                (lambda: replace(FOLDER, lambda path: path.symlink_to("../../../moved")),
                 [f"{FOLDER} {ADDED}", f"{FOLDER}/deep is missing."]),
                (lambda: replace(LINK, lambda path: path.symlink_to("./folder/deep")),
                 [f"{LINK} was changed after the bundle was sealed."]),
                (lambda: at(PLIST).chmod(0o755),
                 [f"{PLIST} can be executed by others than when the bundle was sealed."]),
                (lambda: replace(PLIST, os.mkfifo), [f"{PLIST} is a pipe, a socket or a device."]),
                (lambda: at(SEAL + "/other").touch(), [f"{SEAL}/other is no part of a seal."]),
                (lambda: at("d/" * 40).mkdir(parents=True), ["d/" * 32 + "d is a folder in too many others."]),
                (lambda: [at(f"{number:02}").touch() for number in range(23)],
                 [f"{number:02} {ADDED}" for number in range(20)] + ["And 3 more."]),
                (lambda: (at("empty").mkdir(), os.utime(at(PLIST), (1, 1)), at(PLIST).chmod(0o600)), [])]
        self.assert_says(SIGN)
        pristine = self.bundle.with_name("pristine")
        self.bundle.rename(pristine)
        for tamper, found in rows:
            with self.subTest(found):
                subprocess.run(["cp", "-a", pristine, self.bundle], check=True)
                tamper()
                self.assert_says(VERIFY, *found)
                subprocess.run(["rm", "-rf", self.bundle, self.bundle.with_name("moved")], check=True)

    def test_a_manifest_that_was_not_written_here_is_refused(self):
        self.assert_says(SIGN)
        sound = self.at(MANIFEST).read_text(encoding="ascii")
        first = sound.splitlines(keepends=True)[1]
        for text in ("", sound.replace("2", "3", 1), sound[:-1], sound + first, sound + "\x1b\n", sound + "F" * (9 << 20)):
            with self.subTest(text[-60:]):
                self.at(MANIFEST).write_text(text)
                self.assert_says(VERIFY, f"{MANIFEST} is damaged: the bundle has to be sealed again.")
        self.at(MANIFEST).write_text(sound.replace(first, "") + "F\t\t\t~/../../x\n")
        self.assert_says(VERIFY, f"{PLIST} {ADDED}", "~/../../x is missing.")
        self.at(MANIFEST).unlink()
        os.mkfifo(self.at(MANIFEST))
        self.assertEqual(run(*VERIFY, self.bundle)[0], 1)

    def test_what_cannot_be_sealed_is_named_and_leaves_no_seal(self):
        os.mkfifo(self.at("pipe"))
        self.assert_says(SIGN, "pipe is a pipe, a socket or a device.")
        self.assert_says(VERIFY, f"{self.bundle} is not sealed.")
        self.at("pipe").unlink()

        self.at(SEAL).rmdir()
        self.at(SEAL).symlink_to("Resources")
        self.assertRegex(run(*SIGN, self.bundle)[1], f"codesign: {SEAL} can't ")
        self.assertFalse(self.at("Contents/Resources/CodeResources").exists())

    def test_an_existing_seal_is_replaced_with_force_only_and_whole(self):
        self.assert_says(SIGN)
        before = self.at(MANIFEST).read_bytes()
        self.at(PLIST).write_bytes(b"new")
        self.assert_says(SIGN[1:], f"{self.bundle} is sealed already; --force replaces the seal.")

        def full_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (300, 300))

        self.assert_says(SIGN, f"{SEAL} can't be written: File too large.", preexec_fn=full_disk)
        self.assertEqual(self.at(MANIFEST).read_bytes(), before)
        self.assertEqual(os.listdir(self.at(SEAL)), ["CodeResources"])
        # What a sealing that was killed leaves, and a link that would lead the seal away.
        self.at(SEAL + "/CodeResources.tmp").symlink_to(self.at(PLIST))
        self.at(MANIFEST).unlink()
        self.at(MANIFEST).symlink_to(self.at(PLIST))
        self.assertEqual(run(*VERIFY, self.bundle)[0], 1)
        self.assert_says(SIGN)
        self.assertEqual(self.at(PLIST).read_bytes(), b"new")
        self.assert_says(VERIFY)

    def test_what_is_no_bundle_or_no_command_is_said(self):
        status, said = run(*VERIFY)
        self.assertEqual((status, said.split()[0]), (2, "usage:"))
        status, said = run(*SIGN, str(self.at(PLIST)))
        self.assertEqual((status, " is no bundle: " in said), (1, True))
