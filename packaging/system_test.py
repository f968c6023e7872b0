"""The packages in a system that has nothing else of the project; packaging/test starts it.

The tests follow one another as the life of an installation does, from dpkg --install to --purge.
"""

import contextlib
import grp
import json
import os
import pwd
import re
import shutil
import socket
import stat
import subprocess
import time
from pathlib import Path

import pytest

PACKAGES = ["zantoioc", "zantoioc-epics", "zantoioc-tools"]
PRIVATE = "/usr/lib/zantoioc"
WATCHDOG = 40
# The worst that systemd-analyze may say, in tenths
EXPOSURE = 12
CLIENTS = ["caget", "caput", "camonitor", "cainfo", "pvget", "pvput", "pvmonitor", "softIoc"]


def run(*argv, check=True, **more):
    done = subprocess.run(argv, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=WATCHDOG + 20, check=False, **{"input": "", **more})
    assert not check or done.returncode == 0, f"{argv}: {done.returncode}\n{done.stdout}"
    return done.stdout if check else done


def until(condition, what):
    deadline = time.monotonic() + WATCHDOG
    while not condition():
        assert time.monotonic() < deadline, f"timed out: {what}\n{journal()}"
        time.sleep(0.05)


def journal(unit="zantoioc@*"):
    return run("journalctl", "--no-pager", "-o", "cat", "-u", unit)


def files():
    """What a package may leave behind: everything but dpkg's own books and the users."""
    skipped = r"/(etc/(passwd|group|g?shadow|subuid|subgid)-?|etc/\.pwd\.lock|etc/ld\.so\.cache)$"
    found = run("find", "/etc", "/usr", "/opt", "/var/lib", "/run", "/lib/systemd", "-xdev",
                "-path", "/var/lib/dpkg", "-prune", "-o", "-path", "/var/lib/systemd", "-prune",
                "-o", "-path", "/run/systemd", "-prune", "-o", "-print", check=False).stdout
    return {name for name in found.splitlines() if not re.match(skipped, name)}


class Crate:
    """A simulated one, and the service for it."""

    def __init__(self, name, address):
        self.name, self.unit = name, f"zantoioc@{name}"
        self.address = f"127.0.0.{address}"
        self.served = f"127.0.0.{address + 10}"
        self.control = f"/run/{name}.control"
        self.process = None

    def start(self):
        self.process = subprocess.Popen(
            ["zantocrate", "--address", self.address, "--control", self.control,
             "/usr/share/zantoioc/crates/small.yaml"], stdout=subprocess.DEVNULL)
        until(lambda: os.path.exists(self.control), "the crate is there")

    def configure(self, **more):
        text = Path("/usr/share/zantoioc/crate.env").read_text(encoding="utf-8")
        settings = {"ZANTO_HOST": self.address, "EPICS_CAS_INTF_ADDR_LIST": self.served,
                    "EPICS_PVAS_INTF_ADDR_LIST": self.served, **more}
        lines = "".join(f"{name}={value}\n" for name, value in settings.items())
        Path(f"/etc/zantoioc/{self.name}.env").write_text(text + lines, encoding="utf-8")
        credentials = Path(f"/etc/zantoioc/{self.name}.credentials")
        credentials.touch(mode=0o600)
        credentials.write_text("user=admin\npassword=admin\n", encoding="utf-8")

    def statistics(self):
        return json.loads(run("zantocratectl", "--control", self.control, "--json", "statistics"))

    def calls(self, *operations):
        log = json.loads(run("zantocratectl", "--control", self.control, "--json", "log"))["log"]
        return [line.split("(")[0].removeprefix("VEXAHV_") for line in log
                if line.startswith(tuple(f"VEXAHV_{each}(" for each in operations))]

    def sessions(self):
        return self.calls("InitSystem", "DeinitSystem")

    def caget(self, record, check=True):
        return self.caget_by_name(f"{self.name}:{record}", check)

    def caget_by_name(self, name, check=True):
        environment = {**os.environ, "EPICS_CA_ADDR_LIST": self.served,
                       "EPICS_CA_AUTO_ADDR_LIST": "NO"}
        return run("caget", "-t", "-w", "1", name, check=check, env=environment)

    def wait_served(self):
        until(lambda: self.caget("ModelName", check=False).returncode == 0, f"{self.name} served")

    def show(self, what):
        return run("systemctl", "show", "--value", "-p", what, self.unit).strip()

    def server(self):
        return int(Path(f"/run/zantoioc/{self.name}/server.pid").read_text(encoding="ascii"))

    @contextlib.contextmanager
    def console(self):
        with contextlib.closing(socket.socket(socket.AF_UNIX)) as connection:
            connection.settimeout(WATCHDOG)
            connection.connect(f"/run/zantoioc/{self.name}/console")
            yield connection


def answer(connection, request, pattern):
    connection.sendall(request)
    received = ""
    while not re.search(pattern, received):
        data = connection.recv(4096)
        assert data, f"the console ended without {pattern!r}: {received}"
        received += data.decode(errors="replace")
    return received


HV, LV = Crate("HV", 1), Crate("LV", 2)
before = files()


def test_the_packages_install():
    debs = [next(str(path) for path in Path("/packages/debs").glob(f"{name}_*.deb"))
            for name in PACKAGES]
    run("dpkg", "--install", *debs)
    assert pwd.getpwnam("zantoioc").pw_shell.endswith("nologin")
    assert Path("/usr/share/man/man1/zantoioc.1.gz").exists()


def test_the_unit_is_sound():
    assert run("systemd-analyze", "verify", "zantoioc@HV.service") == ""
    print(run("systemd-analyze", "security", "--offline=true", f"--threshold={EXPOSURE}",
              "/lib/systemd/system/zantoioc@.service").splitlines()[-1])


def test_nothing_leads_back_to_the_build():
    programs = 0
    for name in run("dpkg", "--listfiles", *PACKAGES).split():
        path = Path(name)
        if not path.is_file() or path.is_symlink() or path.read_bytes()[:4] != b"\x7fELF":
            continue
        programs += 1
        dynamic = run("readelf", "-d", name)
        assert "(RPATH)" not in dynamic, "before LD_LIBRARY_PATH"
        assert set(re.findall(r"\(RUNPATH\).*\[(.*)\]", dynamic)) <= {PRIVATE}, name
        assert "not found" not in run("ldd", name), name
    assert programs > 20


def test_start_up_scripts_name_installed_files():
    for script in Path("/usr/share/zantoioc/iocBoot/iocZANTO").glob("*.cmd"):
        text = script.read_text(encoding="utf-8")
        assert "@TOP@" not in text
        for named in re.findall(r'"(/usr[^"$]*)"', text):
            assert Path(named).is_file(), f"{script}: {named}"


def test_clients_are_on_the_path():
    for name in CLIENTS:
        assert os.path.realpath(shutil.which(name)).startswith(PRIVATE), name
    assert "Usage" in run("caget", "-h")
    assert "_exit_:BaseVersion" in run("softIoc", "-x", "_exit_", input="dbl\nexit\n")


def test_a_service_without_its_files_says_so():
    assert run("systemctl", "start", HV.unit, check=False).returncode != 0
    assert HV.show("AssertResult") == "no"


def test_a_crate_is_served():
    HV.start()
    HV.configure()
    run("systemctl", "start", HV.unit)
    HV.wait_served()
    assert HV.caget("ModelName").split() == ["ZC04"]
    assert HV.sessions() == ["InitSystem"]


def test_the_server_has_no_rights_and_shows_no_password():
    process = Path(f"/proc/{HV.server()}")
    status = (process / "status").read_text(encoding="ascii")
    user = str(pwd.getpwnam("zantoioc").pw_uid)
    assert re.search(r"^Uid:\s+(\d+)", status, re.MULTILINE).group(1) == user
    assert re.search(r"^CapEff:\s+0+$", status, re.MULTILINE)
    arguments = (process / "cmdline").read_bytes()
    assert arguments.split(b"\0")[2:4] == [b"-c", b"HV@127.0.0.1"]
    assert b"admin" not in arguments + (process / "environ").read_bytes()


def test_the_console_is_for_the_group():
    status = os.stat("/run/zantoioc/HV/console")
    assert stat.S_IMODE(status.st_mode) == 0o660
    assert grp.getgrgid(status.st_gid).gr_name == "zantoioc"
    with HV.console() as connection:
        assert 'DBF_STRING: ' in answer(connection, b"dbgf HV:ModelName\r\n", "ZC04")


# Opens the socket named first; the status says whether it could.
CONNECT = "import socket, sys; socket.socket(socket.AF_UNIX).connect(sys.argv[1])"


def test_the_console_is_closed_to_others():
    def connect(group):
        return run("setpriv", "--reuid=nobody", f"--regid={group}", "--clear-groups",
                   "/usr/bin/python3", "-c", CONNECT, "/run/zantoioc/HV/console", check=False)

    assert connect("zantoioc").returncode == 0
    assert "PermissionError" in connect("nogroup").stdout


# What the server does, in the place of the server: the memory barrier with which it closes its
# tree, a broadcast to clients, a listening port, the list of interfaces.
PROBE = """use Socket;
my ($udp, $tcp, $interfaces);
my $barrier = `uname -m` =~ /x86_64/ ? 324 : 283;
syscall($barrier, 16, 0) == 0 or die "membarrier: $!";
socket($udp, AF_INET, SOCK_DGRAM, 0) and setsockopt($udp, SOL_SOCKET, SO_BROADCAST, 1)
    and send($udp, "beacon", 0, sockaddr_in(5065, inet_aton("127.255.255.255")))
    or die "broadcast: $!";
socket($tcp, AF_INET, SOCK_STREAM, 0) and bind($tcp, sockaddr_in(5199, INADDR_ANY))
    and listen($tcp, 5) or die "port: $!";
socket($interfaces, 16, SOCK_RAW, 0) or die "interfaces: $!";
print "all allowed\\n";
"""


def test_the_sandbox_allows_what_a_server_does():
    LV.configure()
    probe = Path("/opt/probe.pl")
    probe.write_text(PROBE, encoding="utf-8")
    folder = Path(f"/run/systemd/system/{LV.unit}.service.d")
    folder.mkdir(parents=True)
    (folder / "probe.conf").write_text(
        f"[Service]\nExecStart=\nExecStart=/usr/bin/perl {probe}\nExecStop=\nRestart=no\n",
        encoding="utf-8")
    run("systemctl", "daemon-reload")
    run("systemctl", "start", LV.unit)
    until(lambda: LV.show("ActiveState") in ("inactive", "failed"), "the probe ended")
    assert "all allowed" in journal(LV.unit), journal(LV.unit)
    shutil.rmtree(folder)
    probe.unlink()
    run("systemctl", "daemon-reload")
    run("systemctl", "reset-failed", check=False)


def test_a_second_service_has_files_of_its_own():
    LV.start()
    LV.configure()
    run("systemctl", "start", LV.unit)
    LV.wait_served()
    assert HV.caget("ModelName").split() == ["ZC04"]
    for crate in (HV, LV):
        database = Path(f"/proc/{crate.server()}/root/tmp/ZANTO.db").read_text(encoding="utf-8")
        assert f'"{crate.name}:ModelName"' in database
    assert not list(Path("/tmp").glob("ZANTO.db"))
    run("systemctl", "stop", LV.unit)
    assert LV.sessions() == ["InitSystem", "DeinitSystem"]


def test_a_restart_leaves_no_session():
    run("systemctl", "restart", HV.unit)
    HV.wait_served()
    assert HV.sessions() == ["InitSystem", "DeinitSystem", "InitSystem"]


def test_the_console_restarts_the_server_which_logs_out():
    server = HV.server()
    with HV.console() as connection:
        answer(connection, b"\x18", "Received a sigChild")
    HV.wait_served()
    assert HV.server() != server
    assert HV.sessions()[-3:] == ["InitSystem", "DeinitSystem", "InitSystem"]


def test_without_procserv_the_server_logs_out_and_both_come_back():
    server, sessions = HV.server(), len(HV.sessions())
    os.kill(int(HV.show("MainPID")), 9)
    until(lambda: HV.sessions()[sessions:] == ["DeinitSystem", "InitSystem"], "logged in again")
    HV.wait_served()
    assert not Path(f"/proc/{server}").exists()
    assert HV.show("NRestarts") == "1"


def test_a_server_that_is_killed_comes_back():
    server = HV.server()
    os.kill(server, 9)
    until(lambda: HV.server() != server, "procServ starts another")
    HV.wait_served()
    assert HV.show("NRestarts") == "1", "systemd has nothing to do with it"


@pytest.mark.parametrize("settings, complaint", [
    ({"ZANTO_HOST": ""}, "ZANTO_HOST, the crate's address, is not set."),
    ({"ZANTO_SCRIPT": "/nowhere.cmd"}, "The start-up script /nowhere.cmd cannot be read."),
    ({"ZANTO_ACCESS_LIBRARY": "/nowhere"}, "There is no libvexahvwrapper.so in /nowhere."),
])
def test_a_wrong_setting_is_told(settings, complaint):
    LV.configure(**settings)
    run("systemctl", "start", LV.unit)
    until(lambda: complaint in journal(LV.unit), complaint)
    run("systemctl", "stop", LV.unit)


def stopped_within(crate, seconds):
    begin = time.monotonic()
    run("systemctl", "stop", crate.unit)
    assert time.monotonic() - begin < seconds
    assert (crate.show("ActiveState"), crate.show("Result")) == ("inactive", "success")


def test_a_service_waits_for_its_crate_and_can_be_stopped_meanwhile():
    LV.configure(ZANTO_HOST="127.0.0.9")
    run("systemctl", "start", LV.unit)
    until(lambda: "Waiting for firmware" in journal(LV.unit), "the server waits")
    stopped_within(LV, 5)


def test_a_crate_that_does_not_answer_cannot_keep_a_service_from_its_end():
    LV.configure()
    run("systemctl", "start", LV.unit)
    LV.wait_served()
    run("zantocratectl", "--control", LV.control, "fault", "hang", "operation=any", "count=0")
    stopped_within(LV, 15)
    run("zantocratectl", "--control", LV.control, "clear-faults")


def test_credentials_that_cannot_be_used_are_told():
    LV.configure()
    Path("/etc/zantoioc/LV.credentials").write_text("user=admin\n", encoding="utf-8")
    run("systemctl", "start", LV.unit)
    until(lambda: "no password=. Shutting down." in journal(LV.unit), "the complaint")
    run("systemctl", "stop", LV.unit)


def test_the_makers_library_takes_the_place_of_ours():
    library = "/opt/maker/lib/libvexahvwrapper.so"
    os.makedirs("/opt/maker/lib")
    shutil.copy(f"{PRIVATE}/libvexahvwrapper.so", library)
    LV.configure(ZANTO_ACCESS_LIBRARY="/opt/maker/lib")
    run("systemctl", "start", LV.unit)
    LV.wait_served()
    maps = Path(f"/proc/{LV.server()}/maps").read_text(encoding="ascii")
    assert library in maps and f"{PRIVATE}/libvexahvwrapper.so" not in maps
    run("systemctl", "stop", LV.unit)
    shutil.rmtree("/opt/maker")


def test_a_sites_names_and_states_are_served():
    shared = "/usr/share/zantoioc"
    run("zantosite", "make", f"{shared}/examples/gem.yaml", "--pvlist", f"{shared}/crates/small.yaml",
        "--out", "/opt/site")
    LV.configure(ZANTO_NAME="LAB1", ZANTO_SITE="/opt/site",
                 ZANTO_SCRIPT=f"{shared}/iocBoot/iocZANTO/st-site.cmd")
    run("systemctl", "start", LV.unit)
    until(lambda: LV.caget_by_name("GEM:1:Top:State", check=False).stdout == "Off\n",
          "the site's names")
    run("systemctl", "stop", LV.unit)
    shutil.rmtree("/opt/site")


def test_an_upgrade_keeps_what_the_site_changed_and_what_runs():
    default, settings = Path("/etc/default/zantoioc"), Path("/etc/zantoioc/HV.env")
    default.write_text("# ours\n", encoding="utf-8")
    configured, server = settings.read_bytes(), HV.server()
    run("dpkg", "--force-confold", "--install", *map(str, Path("/packages/upgrade").glob("*.deb")))
    assert run("dpkg-query", "-Wf", "${Version}", "zantoioc").endswith(".1")
    assert default.read_text(encoding="utf-8") == "# ours\n"
    assert settings.read_bytes() == configured
    assert HV.server() == server and HV.caget("ModelName").split() == ["ZC04"]
    run("systemctl", "restart", HV.unit)
    HV.wait_served()


def test_a_stop_logs_out():
    sessions = len(HV.sessions())
    stopped_within(HV, 12)
    assert HV.sessions()[sessions:] == ["DeinitSystem"]
    assert not Path("/run/zantoioc/HV").exists()


def test_removal_ends_the_service_and_keeps_its_settings():
    run("systemctl", "start", HV.unit)
    HV.wait_served()
    run("dpkg", "--remove", "zantoioc-tools", "zantoioc")
    assert HV.process.poll() is None
    assert run("pgrep", "-u", "zantoioc", check=False).stdout == ""
    assert Path("/etc/zantoioc/HV.env").exists()


def test_a_purge_leaves_nothing():
    for crate in (HV, LV):
        crate.process.terminate()
        crate.process.wait(WATCHDOG)
    run("dpkg", "--purge", *PACKAGES)
    left = {name for name in files() - before if not name.startswith("/var/lib/private")}
    assert left <= {"/run/zantoioc"}, "systemd keeps this until the next boot"
    assert not before - files()
