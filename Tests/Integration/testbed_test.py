# SPDX-License-Identifier: GPL-3.0-or-later
"""The test bed itself: it must serve, hand on what it is told, and leave nothing behind."""

import json
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
TESTBED = os.path.join(ROOT, "scripts", "testbed")
CLEAN = "testbed: nothing left behind"

sys.path.insert(0, os.path.join(ROOT, "scripts"))

from testbed_lib import crashes  # noqa: E402

# Mounts a guest share, leaves an orphan without the run's environment, tells where we are, stays.
BUSY = """
gio mount -a "smb://127.0.0.1:$QTB_SMB_PORT/pub" || exit 9
setsid env -i tail -f /dev/null "$QTB_PASSWORD_FILE" >/dev/null 2>&1 &
printf '%s\\n%s\\n' "$QTB_DIR" "$PPID" > "$1.new"
mv "$1.new" "$1"
exec sleep 300
"""

# Ends the AFP back end that it mounts with that signal.
CRASHING = """
for i in 1 2 3 4; do gio mount -a "afp://anonymous@$QTB_AFP_HOST/Public" 2>/dev/null && break; done
: > "$QTB_AFP_CRASHES"
kill -$1 $(gdbus call --session -d org.gtk.vfs.Daemon -o /org/gtk/vfs/mounttracker -m org.gtk.vfs.MountTracker.ListMounts |
           grep -o "':[0-9.]*'" | tr -d "'" | while read owner; do
               gdbus call --session -d org.freedesktop.DBus -o / \
                     -m org.freedesktop.DBus.GetConnectionUnixProcessID "$owner"; done | grep -o '[0-9]*,' | tr -d ,)
for i in $(seq 1000); do gio mount -l | grep -q afp: || { echo ended; break; }; sleep 0.02; done
exit 3
"""

# The compiler, the sanitizer, a program in which that one finds something, and what it says then.
FAULTY = (
    ("c++", "address", "#include <cstdlib>\nvoid* volatile kept;\n"
     "int main() { kept = std::malloc(7); kept = nullptr; }", "7 byte(s) leaked"),
    ("c++", "undefined", "int most = 0x7fffffff;\nint main(int argc, char**) { most += argc; }", "signed integer overflow"),
    ("clang++", "thread", "#include <thread>\nint shared;\n"
     "int main() { std::thread other([] { ++shared; }); ++shared; other.join(); }", "data race"),
)


def until(condition, seconds=20):
    end = time.monotonic() + seconds
    while not condition() and time.monotonic() < end:
        time.sleep(0.02)
    return condition()


def holders(directory):
    """Living processes that carry the run's directory in their environment or command line."""
    found = []
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            text = b""
            for name in ("environ", "cmdline"):
                with open(f"/proc/{pid}/{name}", "rb") as file:
                    text += file.read()
        except OSError:
            continue
        if directory.encode() in text:
            found.append(int(pid))
    return found


def mounted(directory):
    with open("/proc/self/mountinfo", encoding="utf-8") as file:
        return directory in file.read()


def run(*arguments, **more):
    return subprocess.run([TESTBED, "run", *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=120, check=False, **more)


class Serves(unittest.TestCase):
    def read_all(self, *options):
        done = run("--logs", *options, "--", sys.executable, "-B", os.path.realpath(__file__), "--read-all")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn(CLEAN, done.stderr)
        return json.loads(done.stdout)

    def test_every_share_is_mounted_and_read_with_the_runs_password(self):
        texts = self.read_all("--servers", "smb,dav,davs,ftp")
        self.assertEqual(texts, {"pub": "pub", "Mixed Case": "Mixed Case", "s20": "s20", "priv": "priv",
                                 "dav": "dav", "davs": "davs", "ftp": "ftp", "ftp-public": "ftp-public"})

    def test_in_its_own_network_the_standard_ports_serve(self):
        texts = self.read_all("--netns", "--servers", "smb,ftp")
        self.assertEqual(texts, {"pub": "pub", "Mixed Case": "Mixed Case", "s20": "s20", "priv": "priv",
                                 "ftp": "ftp", "ftp-public": "ftp-public"})

    def test_afp_and_apache_serve_in_their_own_network(self):
        texts = self.read_all("--netns", "--servers", "afp,apache")
        self.assertEqual(texts, {"Public": "Public", "Private": "Private", "apache": "apache"})

    def test_a_crash_of_the_afp_back_end_is_told_and_its_end_is_not(self):
        for signal_name, runs in (("SEGV", 2), ("TERM", 1)):
            with self.subTest(signal=signal_name):
                done = run("--netns", "--servers", "afp", "--again", "1", "--", "sh", "-c", CRASHING, "sh",
                           signal_name)
                self.assertEqual(done.returncode, 3, done.stderr)
                self.assertEqual(done.stdout, "ended\n" * runs)
                self.assertEqual(done.stderr.count(crashes.SAID), runs - 1, done.stderr)
                self.assertEqual(done.stderr.count(CLEAN), runs)

    def test_a_killed_server_comes_back_on_its_port(self):
        done = run("--servers", "ftp", "--", "bash", "-c",
                   f'kill -9 -- -$QTB_FTP_PID && new=$({TESTBED} restart ftp) && [ "$new" != $QTB_FTP_PID ] && '
                   'grep -q "\\"QTB_FTP_PID\\": \\"$new\\"" "$QTB_DIR/testbed.json"')
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(CLEAN, done.stderr)

    @staticmethod
    def names_script():
        return ('nslookup alias.lan.test && nslookup dual.lan.test && nmblookup HOSTB && '
                'gdbus call --system -d org.freedesktop.Avahi -o / '
                '-m org.freedesktop.Avahi.Server.ResolveService -- -1 0 "$QTB_AVAHI_AFP" _afpovertcp._tcp local 0 0')

    def test_names_are_found_by_the_real_tools(self):
        done = run("--netns", "--logs", "--servers", "dns,netbios,avahi", "--", "sh", "-c", self.names_script())
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        for text in ("canonical name = files.lan.test.", "Address: fd77::3", "10.77.0.2 HOSTB<00>", "127.0.0.6"):
            self.assertIn(text, done.stdout)
        self.assertIn(CLEAN, done.stderr)


class HandsOn(unittest.TestCase):
    def test_the_commands_exit_code_is_the_runs(self):
        self.assertEqual(run("--", "sh", "-c", "exit 7").returncode, 7)
        self.assertEqual(run("--", "sh", "-c", "kill -9 $$").returncode, 137)
        self.assertEqual(run("--", "/nonexistent").returncode, 127)

    def test_wrong_usage_is_2(self):
        for arguments in (["--servers", "nosuch", "--", "true"], ["--servers", "afp", "--", "true"], []):
            self.assertEqual(run(*arguments).returncode, 2, arguments)

    def test_a_server_that_cannot_start_is_70_with_its_reason(self):
        done = run("--servers", "ftp", "--at", "ftp=192.0.2.1:2121", "--", "true")
        self.assertEqual(done.returncode, 70)
        self.assertIn("ftp ended with", done.stderr)
        self.assertIn(CLEAN, done.stderr)

    def test_the_command_that_takes_too_long_is_ended(self):
        begin = time.monotonic()
        done = run("--timeout", "1", "--", "sleep", "300")
        self.assertEqual(done.returncode, 124)
        self.assertLess(time.monotonic() - begin, 30)

    def test_what_a_sanitizer_reports_of_a_program_that_nobody_looks_at_fails_the_run(self):
        for compiler, sanitizer, program, wanted in FAULTY:
            with self.subTest(sanitizer=sanitizer), tempfile.TemporaryDirectory() as own:
                place = os.path.join(own, "faulty")
                subprocess.run([compiler, "-xc++", "-", "-g", f"-fsanitize={sanitizer}", "-o", place], input=program,
                               text=True, timeout=60, check=True)
                for code, wanted_code in (0, 71), (3, 3):
                    done = run("--", "sh", "-c", f"{place} >/dev/null 2>&1; exit {code}")
                    self.assertEqual(done.returncode, wanted_code, done.stderr)
                    self.assertIn(wanted, done.stderr)
                    self.assertIn(CLEAN, done.stderr)

    def test_the_session_is_private_and_the_password_in_a_file_only(self):
        environment = dict(os.environ, DISPLAY=":0", DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        done = run("--servers", "smb,dav,ftp", "--", "sh", "-c",
                   'cat "$QTB_PASSWORD_FILE"; stat -c %a "$QTB_PASSWORD_FILE" "$QTB_DIR" "$XDG_RUNTIME_DIR" '
                   '"$QTB_DIR/testbed.json"; env; cat "$QTB_DIR/testbed.json"; cat /proc/[0-9]*/cmdline | tr "\\0" " "; '
                   'cat /proc/[0-9]*/environ 2>/dev/null | tr "\\0" " "', env=environment)
        password, *rest = done.stdout.split("\n")
        self.assertGreaterEqual(len(password), 16)
        self.assertEqual(rest[:4], ["600", "700", "700", "600"])
        self.assertNotIn(password, "\n".join(rest))
        variables = dict(line.split("=", 1) for line in rest if "=" in line)
        directory = variables["QTB_DIR"]
        self.assertNotIn("DISPLAY", variables)
        for name in ("HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME"):
            self.assertTrue(variables[name].startswith(directory + "/"), name)
        self.assertTrue(variables["DBUS_SESSION_BUS_ADDRESS"].startswith(f"unix:path={directory}/"))


class LeavesNothingBehind(unittest.TestCase):
    def end_with(self, number, victim):
        with tempfile.TemporaryDirectory() as own:
            told = os.path.join(own, "told")
            bed = subprocess.Popen([TESTBED, "run", "--servers", "smb,dav,ftp", "--", "sh", "-c", BUSY, "sh", told],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                   text=True, start_new_session=True)
            try:
                self.assertTrue(until(lambda: os.path.exists(told) or bed.poll() is not None))
                with open(told, encoding="utf-8") as file:
                    directory, inner = file.read().split()
                self.assertTrue(until(lambda: mounted(directory)), "the FUSE mount is there before the end")
                os.kill(bed.pid if victim == "outer" else int(inner), number)
                output = bed.communicate(timeout=60)[1]
                self.assertTrue(until(lambda: not holders(directory)), holders(directory))
                self.assertTrue(until(lambda: not os.path.exists(directory)), directory)
                self.assertFalse(mounted(directory))
            finally:
                bed.kill()
                bed.wait()
                bed.stderr.close()
            return bed.returncode, output

    def test_after_the_end_of_a_command_that_mounted(self):
        done = run("--servers", "smb", "--", "sh", "-c",
                   'echo "$QTB_DIR"; gio mount -a smb://127.0.0.1:$QTB_SMB_PORT/pub; setsid sleep 300 & exit 3')
        directory = done.stdout.split()[0]
        self.assertEqual(done.returncode, 3)
        self.assertIn(CLEAN, done.stderr)
        self.assertEqual(holders(directory), [])
        self.assertFalse(os.path.exists(directory))
        self.assertFalse(mounted(directory))

    def test_after_a_termination_signal(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            for victim in ("outer", "inner"):
                with self.subTest(number=number, victim=victim):
                    code, output = self.end_with(number, victim)
                    self.assertEqual(code, 128 + number)
                    self.assertIn(CLEAN, output)

    def test_when_the_watching_process_is_killed(self):
        code, _ = self.end_with(signal.SIGKILL, "outer")
        self.assertEqual(code, -signal.SIGKILL)

    def test_when_the_working_process_is_killed(self):
        code, output = self.end_with(signal.SIGKILL, "inner")
        self.assertEqual(code, 137)
        self.assertIn(CLEAN, output)

    def test_when_a_server_was_frozen(self):
        done = run("--servers", "smb,ftp", "--", "bash", "-c",
                   'echo "$QTB_DIR"; gio mount -a smb://127.0.0.1:$QTB_SMB_PORT/pub; '
                   'kill -STOP -- -$QTB_SMB_PID -$QTB_FTP_PID')
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(CLEAN, done.stderr)
        self.assertEqual(holders(done.stdout.split()[0]), [])


def read_all():
    """Runs inside the bed: mounts what is served and prints the name that each hello.txt tells."""
    user = os.environ["QTB_USER"]
    with open(os.environ["QTB_PASSWORD_FILE"], encoding="utf-8") as file:
        password = file.read().strip()
    texts = {}

    def mount(name, scheme, server, path="", login=None, answers=()):
        host, port = (os.environ[f"QTB_{server}_{key}"] for key in ("HOST", "PORT"))
        # AFP goes to its standard port whatever is asked for.
        where = host if scheme == "afp" else f"{host}:{port}"
        uri = f"{scheme}://{login + '@' if login else ''}{where}/{path}"
        command = ["gio", "mount"] + ([] if login else ["-a"]) + [uri]
        done = subprocess.run(command, input="".join(f"{line}\n" for line in answers), capture_output=True, text=True,
                              timeout=60, check=False)
        if done.returncode != 0:
            raise RuntimeError(f"{uri}: {done.stderr}")
        texts[name] = subprocess.run(["gio", "cat", uri.rstrip("/") + "/hello.txt"], capture_output=True, text=True,
                                     timeout=60, check=True).stdout.removeprefix("Hello from ").rstrip("\n")

    served = os.environ["QTB_SERVERS"].split(",")
    if "smb" in served:
        for name in ("pub", "Mixed Case", "s20"):
            mount(name, "smb", "SMB", name.replace(" ", "%20"))
        mount("priv", "smb", "SMB", "priv", user, ("WORKGROUP", password))
    if "dav" in served:
        mount("dav", "dav", "DAV", "", user, (password,))
    if "davs" in served:
        mount("davs", "davs", "DAVS", "", user, ("1", password))
    if "ftp" in served:
        mount("ftp", "ftp", "FTP", "", user, (password,))
        mount("ftp-public", "ftp", "FTP", "", "anonymous")
    if "afp" in served:
        crashes.in_spite(lambda: mount("Public", "afp", "AFP", "Public", "anonymous"))
        crashes.in_spite(lambda: mount("Private", "afp", "AFP", "Private", user, (password,)))
    if "apache" in served:
        mount("apache", "dav", "APACHE", "share/", user, (password,))
    print(json.dumps(texts))


if __name__ == "__main__":
    if sys.argv[1:] == ["--read-all"]:
        read_all()
    else:
        unittest.main()
