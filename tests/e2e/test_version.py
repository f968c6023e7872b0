"""Which version a program was built from."""

import re
import subprocess

import pytest

from harness import places

TOP = places.TESTS.parent.parent


def newest():
    changes = (TOP / "CHANGES.md").read_text(encoding="utf-8")
    return re.search(r"^## (.+)$", changes, re.MULTILINE)[1]


def checkout(tmp_path, *versions):
    """A repository of the version script and its changes, with a commit."""
    (tmp_path / "tools").mkdir()
    script = tmp_path / "tools/version"
    script.write_bytes((TOP / "tools/version").read_bytes())
    script.chmod(0o755)
    (tmp_path / "CHANGES.md").write_text("# Changes\n" + "".join(f"\n## {v}\n" for v in versions))
    for command in (["init", "-q"], ["add", "."],
                    ["-c", "user.name=a", "-c", "user.email=a@b", "commit", "-qm", "all"]):
        subprocess.run(["git", *command], cwd=tmp_path, check=True)
    return script


def printed(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True,
                          timeout=60).stdout


@pytest.mark.parametrize("name", ["zantocrate", "zantocratectl", "zantocrate-capture"])
def test_programs_tell_the_newest_in_the_changes(name):
    told = printed(places.program(name), "--version")
    assert re.fullmatch(re.escape(f"{name} {newest()}") + r"(\+[0-9a-f]+(-dirty)?)?\n", told)


def test_the_server_holds_its_version():
    with open(places.program("zantoioc"), "rb") as program:
        assert b"@(#)zantoioc " + newest().encode() in program.read()


def test_a_commit_without_the_tag_is_named(tmp_path):
    script = checkout(tmp_path, "2031.2", "2031.1")
    assert re.fullmatch(r"2031\.2\+[0-9a-f]{7,}\n", printed(script))


def test_a_commit_with_the_tag_has_the_version_alone(tmp_path):
    script = checkout(tmp_path, "2031.2", "2031.1")
    subprocess.run(["git", "tag", "2031.2"], cwd=tmp_path, check=True)
    assert printed(script) == "2031.2\n"
    (tmp_path / "CHANGES.md").write_text("## 2031.2\nmore\n")
    assert re.fullmatch(r"2031\.2\+[0-9a-f]{7,}-dirty\n", printed(script))


def test_the_source_is_written_only_when_it_changes(tmp_path):
    script = checkout(tmp_path, "2031.2")
    source = tmp_path / "made/version.cpp"
    printed(script, "--source", source)
    first = source.stat().st_mtime_ns
    printed(script, "--source", source)
    assert source.stat().st_mtime_ns == first
    (tmp_path / "CHANGES.md").write_text("## 2031.3\n")
    printed(script, "--source", source)
    assert "2031.3" in source.read_text()
