"""The package against what Python itself knows; MIROVAN_LIBRARY names the library."""

import ctypes
import os
import pickle
import pwd
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from datetime import datetime, timedelta, timezone
from errno import ECHILD, ENOENT, ENOTDIR
from pathlib import Path

PACKAGE = str(Path(__file__).parents[1])
sys.path.insert(0, PACKAGE)

import mirovan  # noqa: E402
from mirovan import file, hardware, process, system  # noqa: E402

signal.signal(signal.SIGINT, signal.default_int_handler)  # where it was ignored, children would ignore it too
CODE = mirovan.ErrorCode
# Interrupted in each call; prints how long the call took.
INTERRUPTED = """
import time, mirovan
from mirovan import process
child = process.create("/bin/sleep", "9")
for call in (lambda: process.output("exec sleep 3"),
             lambda: mirovan.wait(child),
             lambda: mirovan.execute(["sleep", "9"]),
             lambda: mirovan.execute("yes", shell=True, on_output=lambda chunk: True),
             lambda: mirovan.execute("sleep 9 & sleep 9", shell=True, capture=False)):
    start = time.monotonic()
    print("ready", flush=True)
    try:
        call()
    except KeyboardInterrupt:
        print(time.monotonic() - start, flush=True)
process.stop(child)
"""


def first_words(path):
    return dict(line.split()[:2] for line in Path(path).read_text().splitlines())


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def assert_fails(self, code, errno, call, *arguments):
        with self.assertRaises(type(OSError(errno, ""))) as caught:
            call(*arguments)
        self.assertEqual((caught.exception.code, caught.exception.errno), (code, errno))
        self.assertEqual(caught.exception.name, "ERROR_MIROVAN_" + code.name)
        return caught.exception


class FileTest(Case):
    def test_attributes_are_those_of_stat(self):
        for path in ("/etc/passwd", "/", os.fsencode(__file__), Path(__file__)):
            facts, known = file.attributes(path), os.stat(path)
            self.assertEqual(
                (facts.size, int(facts.modified.timestamp()), int(facts.changed.timestamp())),
                (known.st_size, int(known.st_mtime), int(known.st_ctime)))
            self.assertEqual(facts.is_file, not stat.S_ISDIR(known.st_mode))

    def test_any_name_and_any_content_come_through(self):
        names = {self.path("deep", name) for name in ("a\udcff.txt", "ü€😀.txt", "two\nlines.txt")}
        content = bytes(range(256))
        for name in names:
            file.save(name, content)
        self.assertEqual(set(file.list(self.path("deep", "*.txt"))), names)
        copy = self.path("other", "copy")
        os.chmod(min(names), 0o640)
        file.copy(min(names), copy)
        self.assertEqual(Path(copy).read_bytes(), content)
        self.assertEqual(stat.S_IMODE(os.stat(copy).st_mode), 0o640)
        file.create_zero_filled(copy, 70000)
        self.assertEqual(Path(copy).read_bytes(), bytes(70000))
        file.delete_folder(self.path("other"))
        file.empty_folder(self.path("deep"))
        self.assertEqual(os.listdir(self.folder), ["deep"])
        file.create_folders(self.path("deep", "er"))
        self.assertEqual(set(file.list(self.folder, file.Kind.ALL, recurse=True)),
                         {self.path("deep"), self.path("deep", "er")})
        self.assertEqual(file.list(self.folder), [])

    def test_failures_are_those_of_python(self):
        none, missing, a_file = self.path("none"), self.path("missing.old"), "/etc/passwd"
        for code, errno, call, *paths in (
                (CODE.FILE_ATTR_NOTFOUND, ENOENT, file.attributes, none),
                (CODE.FILE_COPY_FAILED, ENOENT, file.copy, none, b"/x"),
                (CODE.FILE_ENUM_NOTDIR, ENOENT, file.list, none),
                (CODE.FILE_ENUM_NOTDIR, ENOENT, file.list, missing),
                (CODE.FILE_ENUM_NOTDIR, ENOTDIR, file.list, a_file),
                (CODE.FILE_WALK_FAILED, ENOENT, lambda path: next(mirovan.walk(path)), none),
                (CODE.FILE_CREATEFOLDER_FAILED, ENOTDIR, file.create_folders, a_file + "/x")):
            error = self.assert_fails(code, errno, call, *paths)
            self.assertEqual([error.filename, error.filename2][:len(paths)], paths)
            self.assertEqual(str(error), ": ".join((
                error.operation, " to ".join(map(os.fsdecode, paths)), error.text[:-1],
                os.strerror(errno))))
            self.assertEqual(str(pickle.loads(pickle.dumps(error))), str(error))
        for call in (file.attributes, file.list, hardware.volume, process.output, process.create):
            self.assertRaises(ValueError, call, "/etc\0/passwd")
        self.assertRaises(ctypes.ArgumentError, process.stop, (1 << 32) + os.getpid())
        self.assertRaises(ctypes.ArgumentError, file.create_zero_filled, "/x", 1 << 64)

    def test_a_walk_can_be_steered(self):
        for name in ("a/b/c.txt", "a/d.c", "e/f.txt"):
            file.save(self.path(name), b"12345")
        os.symlink("..", self.path("a/up"))

        def names(skip="", **options):
            found = []
            for entry in mirovan.walk(self.folder, **options):
                found.append(os.path.relpath(entry.path, self.folder))
                if entry.name == skip:
                    entry.skip()
            return sorted(found)

        everything = ["a", "a/b", "a/b/c.txt", "a/d.c", "a/up", "e", "e/f.txt"]
        for options, expected in (({}, everything), ({"same_volume": True}, everything),
                                  ({"depth": 1}, ["a", "e"]), ({"skip": "a"}, ["a", "e", "e/f.txt"]),
                                  ({"pattern": "*.txt"}, ["a/b/c.txt", "e/f.txt"])):
            self.assertEqual(names(**options), expected, options)
        for entry in mirovan.walk(self.folder, status=True):
            known = os.lstat(entry.path)
            self.assertEqual((entry.status.size, entry.status.inode, entry.status.permissions),
                             (known.st_size, known.st_ino, stat.S_IMODE(known.st_mode)))
            self.assertAlmostEqual(entry.status.modified.timestamp(), known.st_mtime, 4)
            self.assertEqual(entry.link_target, ".." if entry.name == "up" else None)
        entries = mirovan.walk(self.path("a"))
        folder = next(entry for entry in entries if entry.name == "b")
        file.delete_folder(folder.path)  # before it is read
        self.assertIsInstance(next(entries).error, FileNotFoundError)

    def test_a_walk_of_any_depth(self):
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        for _ in range(50):  # 10 KB, more than a system call takes
            os.mkdir("d" * 200)
            os.chdir("d" * 200)
        depths = [entry.depth for entry in mirovan.walk(self.folder)]
        self.assertEqual(depths, [*range(1, 51)])
        self.assertEqual(len([*mirovan.walk(self.folder, depth=40)]), 40)
        file.delete_folder(self.folder)
        os.mkdir(self.folder)

    def test_each_thread_has_its_own_error(self):
        def fail(code, errno, *call):
            for _ in range(2000):
                self.assert_fails(code, errno, *call)

        with ThreadPoolExecutor(2) as pool:
            failing = [pool.submit(fail, *arguments) for arguments in (
                (CODE.FILE_ATTR_NOTFOUND, 2, file.attributes, "/nonexistent"),
                (CODE.PROCESS_SETPRIORITY_RANGE, 22, process.set_priority, 21))]
        for each in failing:
            each.result()


class ProcessTest(Case):
    def test_ctrl_c_ends_a_wait(self):
        child = subprocess.Popen([sys.executable, "-c", INTERRUPTED], env={
            **os.environ, "PYTHONPATH": PACKAGE}, stdout=subprocess.PIPE, text=True)
        with child:
            for call in iter(child.stdout.readline, ""):
                time.sleep(0.2)
                child.send_signal(signal.SIGINT)
                self.assertLess(float(child.stdout.readline()), 1.5, call)
        self.assertEqual(child.returncode, 0)

    def test_signal_handlers_may_raise_anywhere(self):
        def stop(*_):
            raise InterruptedError

        self.addCleanup(signal.signal, signal.SIGALRM, signal.signal(signal.SIGALRM, stop))
        calls = (lambda: {1, os.getpid()} <= {each.id for each in mirovan.processes()},
                 lambda: len([*mirovan.walk("/", depth=1)]) >= len(os.listdir("/")),
                 lambda: mirovan.execute("echo a; sleep 0.01", shell=True, on_output=len).ok)
        for tick in range(150):
            try:
                signal.setitimer(signal.ITIMER_REAL, 0.0001 * (tick + 1))
                complete = calls[tick % 3]()
                signal.setitimer(signal.ITIMER_REAL, 0)
                self.assertTrue(complete, tick)
            except (InterruptedError, KeyError) as raised:
                # Python's own Thread.start() fails with a KeyError when a handler raises within it.
                self.assertIsInstance(raised.__context__ or raised, InterruptedError)

    def test_commands_end_in_many_ways(self):
        end, data = process.End, os.urandom(1 << 20)
        shell = {"shell": True}
        for command, options, *expected in (
                (["sh", "-c", "echo a; echo b >&2; exit 3"], {}, end.EXITED, 3, b"a\n", b"b\n"),
                ("echo a; kill -9 $$", shell, end.SIGNALLED, -9, b"a\n", b""),
                ("echo a; echo b >&2", {**shell, "merge_errors": True}, end.EXITED, 0, b"a\nb\n", b""),
                (["cat"], {"input": data}, end.EXITED, 0, data, b""),
                (["pwd"], {"cwd": "/usr"}, end.EXITED, 0, b"/usr\n", b""),
                (["env"], {"env": {"A": "\udcff"}}, end.EXITED, 0, b"A=\xff\n", b""),
                (["sleep", "9"], {"timeout": 0.1}, end.LIMIT, -15, b"", b""),
                ("trap '' TERM; sleep 9", {**shell, "timeout": timedelta(seconds=0.1), "grace": 0},
                 end.LIMIT, -9, b"", b""),
                ("yes", {**shell, "on_output": lambda chunk: False}, end.STOPPED, -15, b"", b""),
                ("exit 1", {**shell, "capture": False}, end.EXITED, 1, b"", b"")):
            result = mirovan.execute(command, **options)
            self.assertEqual([result.end, result.status, result.stdout, result.stderr], expected)
            self.assertLess(result.wall_time, timedelta(seconds=5))
        taken = []
        mirovan.execute("echo a; echo b >&2", shell=True,
                        on_output=lambda chunk: taken.append((chunk, threading.get_ident())),
                        on_errors=lambda chunk: taken.append((chunk, threading.get_ident())))
        self.assertEqual(sorted(taken), [(b"a\n", threading.get_ident()), (b"b\n", threading.get_ident())])

    def test_commands_that_cannot_run(self):
        for error, command, options in (
                (FileNotFoundError, ["/no/such"], {}), (PermissionError, ["/etc/passwd"], {}),
                (OSError, [], {}), (ValueError, ["echo", "a\0b"], {}), (TypeError, "ls", {}),
                (TypeError, ["ls"], {"shell": True}), (ValueError, ["ls"], {"env": {"A=B": "c"}}),
                (KeyError, ["echo"], {"on_output": {}.__getitem__})):
            self.assertRaises(error, mirovan.execute, command, **options)

    def test_records_of_processes(self):
        own = process.record()
        self.assertEqual((own.id, own.parent, own.user_id, own.nice, own.state, own.name + "\n"),
                         (os.getpid(), os.getppid(), os.geteuid(), os.nice(0), "R",
                          Path("/proc/self/comm").read_text()))
        self.assertIn((own.id, own.start_time), [(each.id, each.start_time)
                                                 for each in mirovan.processes()])
        sampler = mirovan.UsageSampler()
        end = time.process_time() + 0.2
        while time.process_time() < end:
            pass
        self.assertTrue(0 < sampler.usage() < 1.5)

    def test_output_of_any_length_and_content(self):
        long = process.output_bytes("head -c 1000000 /dev/zero | tr '\\0' x; printf '\\377'")
        self.assertEqual(long, b"x" * 1000000 + b"\xff")
        self.assertEqual(process.output("printf 'a\\nb\\nc\\n'", first=2, count=1), "b\n")
        taken = []
        process.each_piece("yes 2>/dev/null", lambda piece: taken.append(piece) or len(taken) < 3)
        self.assertEqual(taken, [b"y\n"] * 3)
        self.assertRaisesRegex(KeyError, "y", process.each_piece, "yes 2>/dev/null", {}.__getitem__)

    def test_a_child_from_start_to_end(self):
        earliest = datetime.now(timezone.utc) - timedelta(seconds=2)
        child = process.create("/bin/sleep", "60")
        facts = process.info(child)
        self.assertEqual((facts.id, facts.user), (child, pwd.getpwuid(os.geteuid()).pw_name))
        self.assertEqual(os.path.basename(process.path(child)), os.path.basename(
            os.path.realpath("/bin/sleep")))
        self.assertTrue(earliest <= process.start_time(child) <= datetime.now(timezone.utc))
        process.set_priority(7, child)
        self.assertEqual(process.priority(child), os.getpriority(os.PRIO_PROCESS, child))
        self.assertTrue(earliest <= process.record(child).start_time <= datetime.now(timezone.utc))
        self.assertEqual(mirovan.wait(child, 0.01).end, process.End.RUNNING)
        sampler = mirovan.UsageSampler(child)
        process.stop(child)
        self.assertIsNone(sampler.usage())
        self.assert_fails(CODE.PROCESS_WAIT_FAILED, ECHILD, mirovan.wait, child)
        self.assertTrue(mirovan.wait(process.run("/bin/sh", "sh", "/dev/null")).ok)

    def test_affinity_tags_belong_to_threads(self):
        process.set_affinity_tag(-5)
        self.assertEqual(process.affinity_tag(threading.get_ident()), -5)
        process.set_affinity_tag(0)


class SystemTest(Case):
    def test_the_machine_as_others_see_it(self):
        known = os.uname()
        self.assertEqual((system.version().name, system.version().release),
                         (known.sysname, known.release))
        self.assertEqual(system.host_name(), socket.gethostname())
        self.assertEqual(system.user_name(), pwd.getpwuid(os.geteuid()).pw_name)
        memory = system.memory()
        self.assertEqual(memory.total, os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES"))
        self.assertTrue(0 < memory.free <= memory.total and 0 <= system.idle_percent() <= 100)
        self.assertEqual(hardware.processor().online, os.sysconf("SC_NPROCESSORS_ONLN"))
        volume = os.statvfs("/")
        self.assertEqual(hardware.volume("/").size, volume.f_blocks * volume.f_frsize)
        os.environ["LANG"] = "x" * 300
        self.assertEqual(system.language(), "x" * 300)
        self.assertTrue(all(hardware.volume_names()) and len(hardware.serials().platform) < 64)

    def test_records_are_what_the_system_says(self):
        identity, details, times = system.identity(), system.memory_details(), system.processor_times()
        self.assertEqual((identity.kernel_name, identity.kernel_version, identity.architecture),
                         (os.uname().sysname, os.uname().release, os.uname().machine))
        self.assertEqual((identity.page_size, identity.processors_usable),
                         (os.sysconf("SC_PAGE_SIZE"), len(os.sched_getaffinity(0))))
        known = first_words("/proc/stat")
        self.assertEqual(identity.start_time.timestamp(), int(known["btime"]))
        self.assertAlmostEqual(times.total.user.total_seconds() * os.sysconf("SC_CLK_TCK"),
                               int(known["cpu"]), delta=200)
        self.assertEqual(len(times.each), os.sysconf("SC_NPROCESSORS_CONF"))
        known = first_words("/proc/meminfo")
        self.assertEqual(details.total, int(known["MemTotal:"]) << 10)
        self.assertEqual(details.swap_total, int(known["SwapTotal:"]) << 10)
        self.assertLessEqual(details.free, details.total)
        for volume in hardware.volumes():
            self.assertTrue(os.path.ismount(volume.mount_point) or volume.total is None, volume)
        self.assertGreater(len(hardware.volumes(all_mounts=True)), len(hardware.volumes()))
        with mirovan.LoadSampler() as sampler:
            end = time.process_time() + 0.2
            while time.process_time() < end:
                pass
            load = sampler.load()
        self.assertTrue(0 < load.total <= 1 and all(0 <= each <= 1 for each in load.each), load)

    def test_commands_have_a_limit(self):
        system.run(f"echo done > {self.path('out')}", timedelta(seconds=30))
        self.assertEqual(Path(self.path("out")).read_text(), "done\n")
        start = time.monotonic()
        system.run("exec sleep 60", 0.5)
        self.assertLess(time.monotonic() - start, 30)
        self.assert_fails(CODE.SYSTEM_SHUTDOWN_TYPE, 22, system.shutdown, 0x10006)


if __name__ == "__main__":
    unittest.main()
