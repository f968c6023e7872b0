"""Bad input of zantosite: a clear error with file, line and reason, status 1, nothing written."""

import os
import re
import shutil
import subprocess
import time

import pytest

from harness import golden, places

SITE = "site: Test\ncrates: [{name: ZC16}]\n"


def unfolded(name):
    """A golden file as the server writes it: what holds for a run of channels, for each of them."""
    text = (golden.FILES / "default" / name).read_text(encoding="utf-8")
    parts = re.split(r"^# (?:no channel|slot \d+, channels (\d+) to (\d+))\n", text,
                     flags=re.MULTILINE)[1:]
    return "".join(
        body.replace("<ccc>", f"{channel:03}").replace("<c>", str(channel))
        for first, last, body in zip(parts[::3], parts[1::3], parts[2::3])
        for channel in range(int(first or 0), int(last or 0) + 1))


LIST = unfolded("pvlist.txt")
DATABASE = unfolded("ZANTO.db")
OLD = "of an earlier run\n"
TIME = 10


class Folder:
    """A site file, a PV list and a folder that an earlier run wrote."""

    def __init__(self, path):
        self.path = path
        self.site = path / "site.yaml"
        self.list = path / "pvlist.txt"
        self.out = path / "out"
        self.site.write_text(SITE, encoding="utf-8")
        self.list.write_text(LIST, encoding="utf-8")
        self.out.mkdir()
        for name in ("site.db", "zantosite.files"):
            (self.out / name).write_text(OLD, encoding="utf-8")

    def run(self, *arguments, **options):
        return subprocess.run([places.program("zantosite"), *map(str, arguments)],
                              stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, timeout=TIME,
                              text=True, check=False,
                              **{"stdout": subprocess.PIPE, **options})

    def make(self, **options):
        return self.run("make", self.site, "--pvlist", self.list, "--out", self.out, **options)

    def refused(self, reason):
        """Neither check nor make takes the files; nothing is written."""
        check = self.run("check", self.site, "--pvlist", self.list)
        make = self.make()
        assert (check.returncode, make.returncode) == (1, 1)
        assert (check.stdout, make.stdout) == ("", "")
        assert check.stderr == make.stderr
        assert reason in make.stderr
        assert len(make.stderr) < 100000
        self.unchanged()

    def unchanged(self):
        assert sorted(path.name for path in self.out.iterdir()) == ["site.db", "zantosite.files"]
        assert (self.out / "site.db").read_text(encoding="utf-8") == OLD


@pytest.fixture(name="folder")
def folder_with_files(tmp_path):
    return Folder(tmp_path)


def test_good_files_are_taken(folder):
    done = folder.make()
    assert done.returncode == 0
    assert re.fullmatch(f"{folder.out}: [0-9]+ files\n", done.stdout)
    assert "note: " in done.stderr
    assert (folder.out / "site.db").read_text(encoding="utf-8") != OLD


@pytest.mark.parametrize("text,reason", [
    (b"", "site.yaml: is empty"),
    (b"\x7fELF\x02\x01\x01\0\0", "site.yaml:1: contains a control character"),
    (b"site: \xff\n", "site.yaml:1: is not valid UTF-8"),
    (b"x" * (8 << 20) + b"\n", "site.yaml: is larger than 8 MiB"),
    (SITE.encode() + b"# comment\n" * 800000 + b"stale: yes\n", "site.yaml:800003: \"stale\" is"),
    (SITE.encode() + b"channels: " + b"[" * 100000, "site.yaml:3: "),
    (b"crates: [{name: ZC16}]\r\nsite: T\r\nstale: 1\r\n", "site.yaml:3: \"stale\" is"),
    (SITE.replace("ZC16", "OTHER").encode(), "site.yaml:2: no PV list is that of crate \"OTHER\""),
    (SITE.encode() + b"channels:\n  - channels: 0:0\n    name: \"a b\"\n",
     "site.yaml:5: name \"a b:"),
    (SITE.encode() + b"defaults:\n  access: {Nothing: A}\n",
     "site.yaml:4: no channel has a parameter \"Nothing\" that can be written"),
], ids=lambda value: value if isinstance(value, str) else "")
def test_a_bad_site_file_is_refused(folder, text, reason):
    folder.site.write_bytes(text)
    folder.refused(reason)


@pytest.mark.parametrize("text,reason", [
    (b"", "pvlist.txt: is empty: no PV list"),
    (LIST.encode()[:-5], "ends in the middle of a line: the list was cut short"),
    (b"\x7fELF\x02\x01\x01\0\0" * 1000 + b"\n", "pvlist.txt:1: is not a line of a PV list"),
    (LIST.replace("\n", "\r\n").encode(), "pvlist.txt:1: is not a line of a PV list"),
    (LIST.encode() + LIST.replace("ZC16", "ZC17").encode(), "not the list of one crate"),
], ids=lambda value: value if isinstance(value, str) else "")
def test_a_bad_list_is_refused(folder, text, reason):
    folder.list.write_bytes(text)
    folder.refused(reason)


def test_a_list_cut_short_at_the_end_of_a_line_is_noticed_by_the_database(folder):
    (folder.path / "ZANTO.db").write_text(DATABASE, encoding="utf-8")
    assert (folder.make().returncode, folder.make().stderr) == (0, "")
    shutil.rmtree(folder.out)
    folder.out.mkdir()
    for name in ("site.db", "zantosite.files"):
        (folder.out / name).write_text(OLD, encoding="utf-8")
    lines = LIST.splitlines(keepends=True)
    folder.list.write_text("".join(lines[:-1]), encoding="utf-8")
    folder.refused("pvlist.txt: lacks record \"ZC16:")


def test_limits_beyond_the_hardwares_are_refused(folder):
    (folder.path / "ZANTO.db").write_text(DATABASE, encoding="utf-8")
    folder.site.write_text(SITE + "channels:\n  - channels: 0:0\n    drive: {VSet: [0, 1.0e+9]}\n",
                           encoding="utf-8")
    folder.refused("site.yaml:5: ZC16:00:000 has hardware limits 0 to ")


def test_files_that_are_not_there(folder):
    folder.list.unlink()
    folder.site.unlink()
    folder.refused("pvlist.txt: No such file or directory")
    folder.refused("site.yaml: No such file or directory")


def test_a_folder_that_cannot_be_written(folder):
    for out in ("/proc/site", folder.site):
        done = folder.run("make", folder.site, "--pvlist", folder.list, "--out", out)
        assert (done.returncode, done.stdout) == (1, "")
        assert f"zantosite: {out}: " in done.stderr


def test_a_thousand_overlapping_ranges(folder):
    folder.site.write_text(SITE + "channels:\n" + 1000 * "  - {channels: all, delay: 1}\n",
                           encoding="utf-8")
    begin = time.monotonic()
    folder.refused("site.yaml:5: ZC16:00:000 has a delay in line 4 already")
    assert time.monotonic() - begin < TIME / 2


@pytest.mark.parametrize("command", ["new", "check"])
def test_an_output_that_cannot_be_written(folder, command):
    files = [folder.site] if command == "check" else []
    with open("/dev/full", "wb") as full:
        done = folder.run(command, *files, "--pvlist", folder.list, stdout=full)
    assert done.returncode == 1
    assert "zantosite: standard output cannot be written\n" in done.stderr


def test_a_closed_output(folder):
    command = ["sh", "-c", 'exec "$@" >&-', "sh", places.program("zantosite"), "new",
               "--pvlist", folder.list]
    done = subprocess.run(command, stderr=subprocess.PIPE, text=True, check=False, timeout=TIME)
    assert done.returncode == 1
    assert "zantosite: standard output cannot be written\n" in done.stderr


def test_a_full_disk_leaves_the_old_files(make_site):
    site = make_site(tmp_size="1m")
    out = site.sandbox.path("/tmp/out")
    out.mkdir()
    for name, text in (("site.yaml", SITE), ("pvlist.txt", LIST), ("out/site.db", OLD)):
        site.sandbox.path(f"/tmp/{name}").write_text(text, encoding="utf-8")
    disk = os.statvfs(out)
    site.sandbox.path("/tmp/fill").write_bytes(bytes((disk.f_bavail - 4) * disk.f_bsize))
    done = site.sandbox.run([places.program("zantosite"), "make", "/tmp/site.yaml", "--pvlist",
                             "/tmp/pvlist.txt", "--out", "/tmp/out"])
    assert done.returncode == 1
    assert "No space left on device" in done.stderr
    assert [path.name for path in out.iterdir()] == ["site.db"]
    assert (out / "site.db").read_text(encoding="utf-8") == OLD
