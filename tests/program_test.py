"""The program as a person uses it: in pipes, and in terminals of several widths. PROGRAM is its path."""

import contextlib
import json
import os
import re
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse
import urllib.request
from pathlib import Path

import jsonschema

PROGRAM = os.environ.get("PROGRAM", str(Path(__file__).parents[1] / "build/release/bin/mirovan"))
SCHEMA = json.loads((Path(__file__).parents[1] / "docs/report.schema.json").read_text())
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8", "TERM": "xterm-256color"}
os.umask(0o022)
HOSTILE = [b"plain", b"esc\x1b[31m", b"new\nline", b"bad\xff", "csi\u009b".encode(), b"back\\slash",
           "turn\u202egpj".encode(), "größe 日本".encode()]


def run(*arguments, **options):
    return subprocess.run([PROGRAM, *arguments], capture_output=True, env=ENVIRONMENT, timeout=60,
                          check=False, **{"stdin": subprocess.DEVNULL, **options})


def text(*arguments):
    return run(*arguments).stdout.decode()


def wait_for(condition, seconds=20):
    end = time.monotonic() + seconds
    while not (found := condition()):
        if time.monotonic() > end:
            raise AssertionError("did not come")
        time.sleep(0.05)
    return found


class Screen:
    """A terminal of tmux in which the program runs."""

    def __init__(self, width, *arguments, height=20, **environment):
        self.socket = f"mirovan-test-{os.getpid()}-{id(self)}-{time.monotonic_ns()}"
        line = shlex.join((PROGRAM, *arguments))
        variables = [f"-e{name}={value}" for name, value in environment.items()]
        self.tmux("-f", "/dev/null", "new-session", "-d", "-x", str(width), "-y", str(height),
                  *variables, f"{line}; echo status $?; sleep 60")

    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-u", "-L", self.socket, *arguments], capture_output=True,
                              env=ENVIRONMENT, check=False).stdout.decode()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.tmux("kill-server")

    def shown(self, *options):
        return self.tmux("capture-pane", "-p", *options)

    def wait(self, pattern):
        return wait_for(lambda: (seen := self.shown()) and re.search(pattern, seen, re.M) and seen)


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def make_tree(self):
        tree = self.folder / "tree"
        (tree / "one/two/three").mkdir(parents=True)
        (tree / "one/two/large").write_bytes(os.urandom(70000))
        (tree / "one/two/three/it's").write_text("quoted")
        (tree / "one/.hidden").write_text("hidden")
        (tree / "link").symlink_to("one/.hidden")
        return tree


class Commands(Case):
    def test_statuses_and_messages(self):
        for line, status, output, errors in [
                ("--help", 0, "Subcommands:", ""), ("tree delete --help", 0, "Examples:", ""),
                ("--version", 0, r"^mirovan \d+\.\d+\.\d+$", ""),
                ("", 2, "^$", "required"), ("frob", 2, "^$", "'frob' is not a command"),
                ("frob\x1b[31m", 2, "^$", r"frob\\x1b"), ("report --json --metrics", 2, "^$", "exclude"),
                ("volumes --fuller-than 101%", 2, "^$", "too large"),
                ("run --limit soon -- true", 2, "^$", "'soon' is not a number"),
                ("run --limit 2y -- true", 2, "^$", "unknown unit"), ("run", 2, "^$", "COMMAND"),
                ("processes --watch", 2, "^$", "needs a terminal"), ("tree list", 2, "^$", "PATH"),
                ("tree list /nonexistent", 3, "^$", "No such file"), ("tree delete /", 2, "^$", "root"),
                ("tree delete --yes .", 2, "^$", "current"),
                ("processes no-such-name", 1, "PID", ""), ("watch no-such-name", 3, "^$", "no process"),
                ("volumes --fuller-than 0%", 1, "VOLUME", ""), ("volumes --fuller-than 100%", 0, "^$", ""),
                ("run -- sh -c 'exit_7'", 127, "^$", "exit_7"), ("run -- false", 1, "^$", ""),
                ("run -- /etc/passwd", 126, "^$", "Permission denied"),
                ("run -- no-such-command", 127, "^$", "no-such-command: No such file"),
                ("run --limit 50ms -- sleep 60", 124, "^$", "limit of 0.050 s"),
                ("run --output-limit 3 -- yes", 124, "^y\ny$", "limit of 3 bytes"),
                ("run --stats -- echo -n --limit", 0, "^--limit$", r"user \d"), ("run -- id -u", 0, r"^\d+$", "")]:
            with self.subTest(line):
                ended = run(*line.split(), cwd=self.folder)
                self.assertEqual(ended.returncode, status, ended)
                self.assertRegex(ended.stdout.decode(), re.compile(output))
                self.assertRegex(ended.stderr.decode(), errors or "^")
                self.assertNotIn(b"\x1b", ended.stdout + ended.stderr)
                if status == 2:
                    self.assertEqual(ended.stderr.count(b"\n"), 1)

    def test_closed_and_full_outputs(self):
        for line in ["report", "processes", "tree list /usr/share", "run -- yes", "volumes --json"]:
            ended = subprocess.run(f"set -o pipefail; {shlex.quote(PROGRAM)} {line} 2>errors | head -n 1 >/dev/null",
                                   shell=True, executable="/bin/bash", cwd=self.folder, check=False)
            self.assertIn(ended.returncode, (0, 141), line)
            self.assertEqual((self.folder / "errors").read_text(), "", line)
            with open("/dev/full", "w", encoding="utf-8") as full:
                ended = subprocess.run([PROGRAM, *line.split()], stdout=full, stderr=subprocess.PIPE, check=False)
            self.assertEqual((ended.returncode, b"No space left" in ended.stderr), (1, True), line)

    def test_run_passes_output_input_and_signals_on(self):
        with subprocess.Popen([PROGRAM, "run", "--", "sh", "-c", "echo $$; exec sleep 60"],
                              stdout=subprocess.PIPE) as running:
            command = int(running.stdout.readline())
            running.send_signal(signal.SIGTERM)
            self.assertEqual(running.wait(10), 128 + signal.SIGTERM)
            self.assertRaises(ProcessLookupError, os.kill, command, 0)
        data = os.urandom(3000000)
        self.assertEqual(run("run", "--input", "--", "cat", input=data, stdin=None).stdout, data)
        ended = run("run", "--limit", "0.2", "--", "sh", "-c", "echo $$; sleep 60 & sleep 60")
        self.assertEqual(ended.returncode, 124)
        self.assertEqual(subprocess.run(["pgrep", "-r", "R,S,D", "-g", ended.stdout.strip()], check=False).returncode, 1)

    def test_processes_as_ps_has_them(self):
        with subprocess.Popen(["sleep", "60"]) as child:
            self.addCleanup(child.kill)
            [row] = json.loads(text("processes", "--json", str(child.pid)))
            of_ps = subprocess.run(["ps", "-o", "ppid=,euid=,nlwp=,rss=,stat=", "-p", str(child.pid)],
                                   capture_output=True, check=True).stdout.split()
            self.assertEqual([row["parent_id"], row["user_id"], row["threads"], row["resident_bytes"] // 1024],
                             [int(value) for value in of_ps[:4]])
            self.assertEqual((row["name"], row["state"]), ("sleep", of_ps[4].decode()[0]))
            self.assertRegex(text("processes", "--tree", "sle?p"), rf"(?m)^ *{os.getpid()} .*\n(.*\n)*? *{child.pid} ")
            sizes = [row["resident_bytes"] for row in json.loads(text("processes", "--json", "--sort", "memory"))]
            self.assertEqual(sizes, sorted(sizes, reverse=True))
            with subprocess.Popen([PROGRAM, "watch", "--interval", "50ms", str(child.pid)],
                                  stdout=subprocess.PIPE) as watching:
                self.assertRegex(watching.stdout.readline(), rb"^\d+\.\d+ s +[\d.]+ % +\d")
                child.kill()
                child.wait()
                self.assertRegex(watching.communicate(timeout=10)[0], rb"sleep ended; it used")
                self.assertEqual(watching.returncode, 0)

    def test_trees(self):
        tree, copy = self.make_tree(), self.folder / "copy"
        found = subprocess.run(["find", tree, "-mindepth", "1", "-print0"], capture_output=True, check=True).stdout
        self.assertEqual(sorted(run("tree", "list", "-0", tree).stdout.split(b"\0")), sorted(found.split(b"\0")))
        self.assertRegex(text("tree", "biggest", "--folders", tree), rf"(?m) {tree}/one$")
        self.assertEqual(run("tree", "copy", "--dry-run", tree, copy).returncode, 0)
        self.assertFalse(copy.exists())
        self.assertEqual(text("tree", "copy", tree, copy), "copied 7 entries, 68K\n")
        subprocess.run(["diff", "-r", "--no-dereference", tree, copy], check=True)
        self.assertEqual(run("tree", "copy", tree, copy).returncode, 1)  # nothing is replaced unasked
        self.assertEqual(run("tree", "copy", "--replace", tree, copy).returncode, 0)
        self.assertEqual(run("tree", "copy", tree, tree / "one/inside").returncode, 2)
        for command in "delete", "empty":
            self.assertEqual(run("tree", command, copy).returncode, 2)
            self.assertIn("would delete 7 entries", text("tree", command, "--dry-run", copy))
        subprocess.run(["diff", "-r", "--no-dereference", tree, copy], check=True)
        run("tree", "delete", "--yes", "--glob", "l*", copy)
        self.assertEqual([(copy / name).exists() for name in ("link", "one/two/large", "one/.hidden")],
                         [False, False, True])
        run("tree", "empty", "--yes", copy)
        self.assertEqual(list(copy.iterdir()), [])
        run("tree", "delete", "--yes", copy)
        self.assertFalse(copy.exists())
        for answer, status in ("n", 1), ("y", 0):
            with Screen(80, "tree", "delete", str(tree)) as screen:
                screen.wait(r"delete 7 entries, 68K .*\?")
                screen.tmux("send-keys", answer, "Enter")
                screen.wait(f"^status {status}$")
            self.assertEqual(tree.exists(), answer == "n")

    def test_hostile_names_are_harmless(self):
        for name in HOSTILE:
            (self.folder / os.fsdecode(name)).touch()
        listed = run("tree", "list", self.folder).stdout
        self.assertEqual(sorted(line.rsplit("/", 1)[1] for line in listed.decode().splitlines()),
                         sorted(["plain", r"esc\x1b[31m", r"new\nline", r"bad\xff", r"csi\u{9b}", r"back\\slash",
                                 r"turn\u{202e}gpj", "größe 日本"]))
        program = self.folder / "sl\x1b[5m"
        shutil.copy("/bin/sleep", program)
        with subprocess.Popen([program, "60"]) as child:
            self.assertIn(r"sl\x1b[5m", text("processes", str(child.pid)))
            self.assertEqual(json.loads(text("processes", "--json", str(child.pid)))[0]["name"], program.name)
            child.kill()


class Terminals(Case):
    def test_tables_fit_every_width(self):
        for width in 40, 80, 200:
            for command in "report", "volumes", "processes --count 9", "tree biggest /usr/share/doc":
                with self.subTest(command), Screen(width, *command.split(), height=60) as screen:
                    shown = screen.wait("^status 0$")
                    lines = text(*command.split()).splitlines()
                    # A line that is too long goes on in the next one of the screen.
                    self.assertLessEqual(abs(len(shown.strip().splitlines()) - 1 - len(lines)), 3, shown)
                    self.assertIn("\x1b[", screen.shown("-e"))
        with Screen(80, "report", NO_COLOR="1") as screen:
            screen.wait("^status 0$")
            self.assertNotIn("\x1b[3", screen.shown("-e"))

    def test_watching_redraws_follows_the_size_and_ends(self):
        with Screen(80, "processes", "--watch", "--interval", "200ms") as screen:
            screen.wait(r"^\d+ processes, load .*\n.*\n +PID")
            screen.tmux("send-keys", "m")
            screen.wait("^sorted by memory")
            screen.tmux("resize-window", "-x", "40", "-y", "10")
            self.assertLessEqual(len(screen.wait(r"^sorted by memory.*\n +PID").splitlines()), 10)
            screen.tmux("send-keys", "q")
            self.assertNotIn("PID", screen.wait("^status 0$"))  # what was there before shows again
        with subprocess.Popen(["sleep", "60"]) as child, \
                Screen(60, "watch", "--interval", "50ms", str(child.pid)) as screen:
            screen.wait(r"sleep .* [▁█]{5}")
            child.kill()
            child.wait()
            screen.wait("sleep ended.*\n(.*\n)?status 0$")


class Metrics(Case):
    def test_the_report_tells_what_the_system_tells(self):
        report = json.loads(text("report", "--json", "--interval", "100ms", "--hardware", "--identifiers"))
        jsonschema.validate(report, SCHEMA)
        jsonschema.validate(json.loads(text("report", "--json")), SCHEMA)
        meminfo = dict(re.findall(r"(\w+): +(\d+) kB", Path("/proc/meminfo").read_text()))
        self.assertEqual(report["memory"]["total_bytes"], int(meminfo["MemTotal"]) * 1024)
        self.assertEqual(report["system"]["kernel_version"], os.uname().release)
        self.assertEqual(report["processors"]["usable"], len(os.sched_getaffinity(0)))
        volumes = {volume["mount_point"]: volume for volume in report["volumes"]}
        of_root = os.statvfs("/")
        self.assertEqual(volumes["/"]["total_bytes"], of_root.f_blocks * of_root.f_frsize)
        metrics = dict(re.findall(r"(?m)^(mirovan_\w+(?:\{.*\})?) (\S+)$", text("report", "--metrics")))
        self.assertEqual(int(metrics['mirovan_memory_bytes{kind="total"}']), report["memory"]["total_bytes"])

    def test_prometheus_reads_the_metrics(self):
        for need in "prometheus", "promtool", "prometheus-node-exporter":
            if not shutil.which(need):
                self.skipTest(f"{need} is not installed (tools/prepare --install test)")
        metrics = run("report", "--metrics").stdout
        (self.folder / "mirovan.prom").write_bytes(metrics)
        judged = subprocess.run(["promtool", "check", "metrics"], input=metrics, capture_output=True, check=False)
        self.assertEqual((judged.returncode, judged.stderr), (0, b""))
        with contextlib.ExitStack() as stack:
            ports = []
            for _ in range(2):
                free = stack.enter_context(socket.socket())
                free.bind(("127.0.0.1", 0))
                ports.append(free.getsockname()[1])
        exporter, server = (f"127.0.0.1:{port}" for port in ports)
        (self.folder / "prometheus.yml").write_text(
            "scrape_configs:\n- job_name: node\n  scrape_interval: 1s\n  scrape_timeout: 1s\n"
            f"  static_configs:\n  - targets: ['{exporter}']\n")
        log = open(self.folder / "log", "wb")  # pylint: disable=consider-using-with
        self.addCleanup(log.close)
        for command in (["prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
                         f"--collector.textfile.directory={self.folder}", f"--web.listen-address={exporter}"],
                        ["prometheus", f"--config.file={self.folder}/prometheus.yml",
                         f"--storage.tsdb.path={self.folder}/data", f"--web.listen-address={server}"]):
            started = subprocess.Popen(command, stdout=log, stderr=log)  # pylint: disable=consider-using-with
            self.addCleanup(started.wait)
            self.addCleanup(started.terminate)

        def query():
            what = urllib.parse.quote('mirovan_volume_size_bytes{volume="/"}')
            with contextlib.suppress(OSError), \
                    urllib.request.urlopen(f"http://{server}/api/v1/query?query={what}", timeout=5) as answer:
                return json.load(answer)["data"]["result"]
            return None
        [result] = wait_for(query, 60)
        of_root = os.statvfs("/")
        self.assertEqual(int(result["value"][1]), of_root.f_blocks * of_root.f_frsize)


if __name__ == "__main__":
    unittest.main(argv=sys.argv)
