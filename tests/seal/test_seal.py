"""The signing tool: what it seals, and that nothing that is not as it was sealed escapes it."""

import hashlib
import json
import os
import pathlib
import resource
import shutil
import signal
import socket
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
ODD = b"Contents/Resources/odd \xff\n%41 \x1b[31m\xc3\xbc"
ODD_PRINTED = "Contents/Resources/odd %FF%0A%2541 %1B[31m%C3%BC"


def run(*arguments, **options):
    """The tool's exit status and what it wrote; it has nothing to say on standard output."""
    result = subprocess.run([TOOL, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=20,
                            check=False, **options)
    assert result.stdout == b"", result.stdout
    return result.returncode, result.stderr.decode("ascii")


def sentences(*texts):
    return "".join(f"codesign: {text}\n" for text in texts)


class Seal(unittest.TestCase):
    def setUp(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="seal-"))
        self.addCleanup(shutil.rmtree, folder)
        self.bundle = folder / "My Group.app"
        for name, content in ((PLIST, b"<plist/>"), (PROGRAM, bytes(range(256)) * 1300), ("outside", b""),
                              ("Contents/Resources/folder/deep", b"deep"), ("Contents/Resources/icon", b"icon")):
            self.at(name).parent.mkdir(parents=True, exist_ok=True)
            self.at(name).write_bytes(content)
        self.at(PROGRAM).chmod(0o755)
        self.at(LINK).symlink_to("folder/deep")
        self.odd = self.at(os.fsdecode(ODD))
        self.odd.write_bytes(b"odd")

    def at(self, name):
        return self.bundle / name

    def sign(self):
        self.assertEqual(run(*SIGN, self.bundle), (0, ""))

    def manifest(self):
        return json.loads(self.at(MANIFEST).read_text(encoding="ascii"))

    def test_a_seal_names_every_file_and_link(self):
        self.sign()
        self.assertEqual(run(*VERIFY, self.bundle), (0, ""))
        items = {item.pop("path"): item for item in self.manifest()["files"]}
        self.assertEqual(list(items), sorted([PLIST, PROGRAM, LINK, ODD_PRINTED, "outside",
                                              "Contents/Resources/folder/deep", "Contents/Resources/icon"]))
        self.assertEqual(items[LINK], {"link": "folder/deep"})
        digest = hashlib.sha256(self.at(PROGRAM).read_bytes()).hexdigest()
        self.assertEqual(items[PROGRAM], {"sha256": digest, "execute": "ugo"})
        self.assertEqual(items["outside"], {"sha256": hashlib.sha256(b"").hexdigest()})
        # The seal goes where the bundle goes, and the path may lead over a link.
        copy = self.bundle.with_name("Copy.app")
        subprocess.run(["cp", "-a", self.bundle, copy], check=True)
        copy.with_name("link").symlink_to(copy)
        self.assertEqual(run(*VERIFY, copy.with_name("link")), (0, ""))

    def tamperings(self):
        """What is done to the sealed bundle, and what is to be said about it."""
        at = self.at

        def listen(name):
            with socket.socket(socket.AF_UNIX) as made:
                made.bind(str(at(name)))

        def replace(name, make):
            at(name).rename(self.bundle.with_name("moved"))
            make()

        changed = "was changed after the bundle was sealed."
        added = "was added after the bundle was sealed."
        return {
            "changed, same size": (lambda: at(PLIST).write_bytes(b"<plisT/>"), [f"{PLIST} {changed}"]),
            "grown": (lambda: at("outside").write_bytes(b"x"), [f"outside {changed}"]),
            "last byte of a large file": (lambda: at(PROGRAM).write_bytes(at(PROGRAM).read_bytes()[:-1] + b"x"),
                                          [f"{PROGRAM} {changed}"]),
            "removed": (lambda: at("Contents/Resources/icon").unlink(), ["Contents/Resources/icon is missing."]),
            "added": (lambda: at("Contents/.hidden").touch(), [f"Contents/.hidden {added}"]),
            "odd name changed": (lambda: self.odd.write_bytes(b"even"), [f"{ODD_PRINTED} {changed}"]),
            "renamed": (lambda: at(PLIST).rename(at("Contents/info.plist")),
                        [f"{PLIST} is missing.", f"Contents/info.plist {added}"]),
            "a link to the same bytes": (
                lambda: replace(PLIST, lambda: at(PLIST).symlink_to("../../moved")),
                [f"{PLIST} was a file when the bundle was sealed, and is a symbolic link."]),
            "a link in place of a folder": (
                lambda: replace("Contents/Resources/folder",
                                lambda: at("Contents/Resources/folder").symlink_to("../../../moved")),
                [f"Contents/Resources/folder {added}", "Contents/Resources/folder/deep is missing."]),
            "a link that leads elsewhere": (
                lambda: (at(LINK).unlink(), at(LINK).symlink_to("./folder/deep")),
                [f"{LINK} leads elsewhere than when the bundle was sealed."]),
            "a file in place of a link": (
                lambda: (at(LINK).unlink(), at(LINK).write_text("folder/deep")),
                [f"{LINK} was a symbolic link when the bundle was sealed, and is a file."]),
            "a folder in place of a file": (
                lambda: (at(PLIST).unlink(), at(PLIST).mkdir(), at(PLIST + "/x").touch()),
                [f"{PLIST} was a file when the bundle was sealed, and is a folder.", f"{PLIST}/x {added}"]),
            "executable": (lambda: at(PLIST).chmod(0o755),
                           [f"{PLIST} could not be executed when the bundle was sealed."]),
            "not executable": (lambda: at(PROGRAM).chmod(0o644), [f"{PROGRAM} can no longer be executed."]),
            "executable by fewer": (lambda: at(PROGRAM).chmod(0o744),
                                    [f"{PROGRAM} can be executed by others than when the bundle was sealed."]),
            "a pipe": (lambda: os.mkfifo(at("pipe")), ["pipe is a named pipe."]),
            "a pipe in place of a file": (lambda: (at(PLIST).unlink(), os.mkfifo(at(PLIST))),
                                          [f"{PLIST} is a named pipe."]),
            "a socket": (lambda: listen("socket"), ["socket is a socket."]),
            "beside the seal": (lambda: (at(SEAL + "/other").touch(), at(SEAL + "/more").mkdir()),
                                [f"{SEAL}/more is no part of a seal.", f"{SEAL}/other is no part of a seal."]),
            "too deep": (lambda: at("/".join("d" * 40)).mkdir(parents=True),
                         ["/".join("d" * 33) + " is a folder in too many others."]),
            "many": (lambda: [at(f"{number:02}").touch() for number in range(23)],
                     [f"{number:02} {added}" for number in range(20)] + ["And 3 more."]),
            "an empty folder": (lambda: at("empty").mkdir(), []),
            "other dates and owners' rights": (lambda: (os.utime(at(PLIST), (1, 1)), at(PLIST).chmod(0o600)), []),
        }

    def test_every_tampering_is_found_and_named(self):
        self.sign()
        pristine = self.bundle.with_name("pristine")
        self.bundle.rename(pristine)
        for name in self.tamperings():
            with self.subTest(name):
                subprocess.run(["cp", "-a", pristine, self.bundle], check=True)
                self.addCleanup(shutil.rmtree, self.bundle.with_name("moved"), ignore_errors=True)
                tamper, found = self.tamperings()[name]
                tamper()
                self.assertEqual(run(*VERIFY, self.bundle), (1 if found else 0, sentences(*found)))
                shutil.rmtree(self.bundle)
                moved = self.bundle.with_name("moved")
                shutil.rmtree(moved) if moved.is_dir() else moved.unlink(missing_ok=True)

    def test_a_manifest_that_was_not_written_here_is_refused(self):
        self.sign()
        sound = self.at(MANIFEST).read_text(encoding="ascii")

        def with_path(path, instead=PLIST):
            return sound.replace(json.dumps(instead), json.dumps(path))

        first = self.manifest()["files"][0]
        rows = {
            "empty": "", "no JSON": sound[:-9], "a list": "[]", "another version": sound.replace(": 1,", ": 2,", 1),
            "more": sound.rstrip()[:-1] + ', "more": 1}', "no files": '{"version": 1, "files": {}}',
            "files of another kind": '{"version": 1, "files": [1]}', "deep": "[" * 1000000,
            "upwards": with_path("Contents/../../x"), "absolute": with_path("/etc/passwd"),
            "upwards, escaped": with_path("Contents/%2E%2E/x"), "empty name": with_path("Contents//Info.plist"),
            "a full stop": with_path("Contents/./Info.plist"), "no path": with_path(""),
            "needless escape": with_path("Contents/%49nfo.plist"), "half an escape": with_path(PLIST + "%4"),
            "a zero byte": with_path(PLIST + "%00"), "no ASCII": with_path(PLIST + "\u00fc"),
            "twice": with_path(PROGRAM), "out of order": with_path(PROGRAM + "2"),
            "the seal itself": with_path(MANIFEST, "outside"), "the seal's folder": with_path(SEAL, "outside"),
            "a path that is no text": sound.replace(json.dumps(PLIST), "7"),
            "a short hash": sound.replace(first["sha256"], first["sha256"][1:]),
            "a hash in capitals": sound.replace(first["sha256"], first["sha256"].upper().replace("1", "A")),
            "a link without an end": sound.replace('"link": "folder/deep"', '"link": ""'),
            "file and link": sound.replace('"execute": "ugo"', '"link": "x"'),
            "other rights": sound.replace('"ugo"', '"gu"'), "too large": sound + " " * (8 << 20),
        }
        refused = (1, sentences(f"{MANIFEST} is damaged: the bundle has to be sealed again."))
        for name, text in rows.items():
            with self.subTest(name):
                self.assertNotEqual(text, sound)
                self.at(MANIFEST).write_text(text)
                self.assertEqual(run(*VERIFY, self.bundle), refused)
        self.at(MANIFEST).unlink()
        os.mkfifo(self.at(MANIFEST))
        self.assertEqual(run(*VERIFY, self.bundle), refused)

    def test_what_cannot_be_sealed_is_named_and_leaves_no_seal(self):
        os.mkfifo(self.at("pipe"))
        self.assertEqual(run(*SIGN, self.bundle), (1, sentences("pipe is a named pipe.")))
        self.assertFalse(self.at(MANIFEST).exists())
        self.assertEqual(run(*VERIFY, self.bundle), (1, sentences(f"{self.bundle} is not sealed.")))
        self.at("pipe").unlink()

        self.at(SEAL).rmdir()
        self.at(SEAL).symlink_to("Resources")
        status, said = run(*SIGN, self.bundle)
        self.assertEqual((status, said.split(" can't")[0]), (1, f"codesign: {SEAL}"))
        self.assertFalse(self.at("Contents/Resources/CodeResources").exists())
        self.at(SEAL).unlink()

        self.at("many").mkdir()
        for number in range(20001):
            self.at(f"many/{number}").touch()
        status, said = run(*SIGN, self.bundle)
        self.assertEqual(status, 1)
        self.assertIn("one file more than a bundle may hold", said)

    def test_an_existing_seal_is_replaced_with_force_only_and_whole(self):
        self.sign()
        before = self.at(MANIFEST).read_bytes()
        self.at(PLIST).write_bytes(b"new")
        self.assertEqual(run(*SIGN[1:], self.bundle),
                         (1, sentences(f"{self.bundle} is sealed already; --force replaces the seal.")))

        def full_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (500, 500))

        status, said = run(*SIGN, self.bundle, preexec_fn=full_disk)
        self.assertEqual((status, said), (1, sentences(f"{SEAL} can't be written: File too large.")))
        self.assertEqual(self.at(MANIFEST).read_bytes(), before)
        self.assertEqual(os.listdir(self.at(SEAL)), ["CodeResources"])

        # What a sealing that was killed leaves, and a link that would lead the seal away.
        self.at(SEAL + "/CodeResources.tmp").symlink_to(self.at(PLIST))
        self.at(MANIFEST).unlink()
        self.at(MANIFEST).symlink_to(self.at(PLIST))
        self.assertEqual(run(*VERIFY, self.bundle)[0], 1)
        os.rename(self.at(MANIFEST), self.at(SEAL + "/CodeResources.tmp"))
        self.sign()
        self.assertEqual(self.at(PLIST).read_bytes(), b"new")
        self.assertEqual(run(*VERIFY, self.bundle), (0, ""))

    def test_arguments(self):
        self.sign()
        name = str(self.bundle)
        for arguments in ([], [name], ["--verify", name], [*VERIFY], ["--verify", "--strict", name, name],
                          ["--force", "--deep", "--sign", "identity", name], ["--sign", "-", name], ["--help"],
                          [*VERIFY, "--", name]):
            with self.subTest(arguments):
                status, said = run(*arguments)
                self.assertEqual((status, said.split()[0]), (2, "usage:"))
        for missing in ("", name + "/none", str(self.at(PLIST))):
            for arguments in (SIGN, VERIFY):
                status, said = run(*arguments, missing)
                self.assertEqual((status, " is no bundle: " in said), (1, True))


if __name__ == "__main__":
    unittest.main()
