"""The package against what Python itself knows; MIROVAN_LIBRARY names the library."""

import ctypes
import os
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
from datetime import datetime, timedelta
from pathlib import Path

PACKAGE = Path(__file__).parents[1]
TOOLS = PACKAGE.parents[1] / "tools"
sys.path[:0] = [str(PACKAGE), str(TOOLS)]

import header  # noqa: E402
import mirovan  # noqa: E402
from mirovan import _native, file, hardware, process, system  # noqa: E402

signal.signal(signal.SIGINT, signal.default_int_handler)  # where it was ignored, children would ignore it too
CODE = mirovan.ErrorCode


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def assert_fails(self, code, errno, call, *arguments):
        with self.assertRaises(mirovan.Error) as caught:
            call(*arguments)
        self.assertEqual((caught.exception.code, caught.exception.errno), (code, errno))
        self.assertEqual(caught.exception.name, "ERROR_MIROVAN_" + code.name)


class HeaderTest(Case):
    RECORDS = {
        "MIROVAN_FILE_ATTR": _native.FileAttributes,
        "tag_Mirovan_Disk_Information": _native.Disk,
        "tag_Mirovan_Cpu_Information": _native.Cpu,
        "tag_Mirovan_SdkSerial_Information": _native.Serials,
        "tag_Mirovan_Process_Infomation": _native.ProcessInfo,
        "tag_Mirovan_Memory_Infomation": _native.Memory,
        "TARVELO_LIBTIME": _native.LocalTime,
    }
    TYPES = {"int": _native.Int, "bool": ctypes.c_bool, "unsigned long": ctypes.c_ulong,
             "long long": _native.LongLong, "uint64_t": ctypes.c_uint64,
             "pthread_t": ctypes.c_ulong, "const char*": ctypes.c_char_p,
             "char*": ctypes.c_char_p}

    def test_release_is_that_of_the_library(self):
        self.assertEqual(mirovan.__version__, mirovan.library_version())

    def test_records_are_laid_out_as_the_compiler_does(self):
        records = header.records(header.read())
        prints = []
        for name in self.RECORDS:
            fields = [declaration.rstrip(";").split("[")[0].split()[-1]
                      for declaration, _ in records[name].fields]
            values = [f"sizeof({name})", *(f"offsetof({name}, {field})" for field in fields)]
            prints.append(f'printf("{" %zu" * len(values)}\\n", {", ".join(values)});')
        program = self.path("layout")
        subprocess.run([os.environ.get("CC", "cc"), "-x", "c", "-", "-o", program, "-I",
                        header.HEADER.parent], check=True, text=True,
                       input='#include "mirovan.h"\n#include <stdio.h>\nint main(void) {'
                             + "".join(prints) + "return 0; }")
        for line, record in zip(subprocess.check_output(program, text=True).splitlines(),
                                self.RECORDS.values()):
            offsets = [getattr(record, name).offset for name, _ in record._fields_]
            self.assertEqual(line.split(), [str(n) for n in [ctypes.sizeof(record), *offsets]])

    def test_functions_have_the_parameters_of_the_header(self):
        declared = {function.name: function for function in header.functions(header.read())}
        for name, parameters in _native.PARAMETERS.items():
            types = [text.removesuffix(parameter).strip()
                     for text, parameter in declared[name].parameters]
            self.assertEqual(len(types), len(parameters), name)
            for text, parameter in zip(types, parameters):
                if text in self.TYPES:
                    self.assertIs(parameter, self.TYPES[text], name)


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

    def test_failures_tell_code_and_errno(self):
        self.assert_fails(CODE.FILE_ATTR_NOTFOUND, 2, file.attributes, self.path("none"))
        with self.assertRaisesRegex(mirovan.Error, "^copy: /none to /x: The file could not be copied: No such"):
            file.copy("/none", b"/x")
        self.assert_fails(CODE.FILE_ENUM_NOTDIR, 2, file.list, self.path("none"))
        self.assert_fails(CODE.FILE_CREATEFOLDER_FAILED, 20, file.create_folders, "/etc/passwd/x")
        self.assertRaises(ValueError, file.attributes, "/etc\0/passwd")
        self.assertRaises(ctypes.ArgumentError, process.stop, (1 << 32) + os.getpid())
        self.assertRaises(ctypes.ArgumentError, file.create_zero_filled, "/x", 1 << 64)

    def test_each_thread_has_its_own_error(self):
        def fail(code, errno, *call):
            for _ in range(2000):
                self.assert_fails(code, errno, *call)
            passed.append(code)

        passed = []
        threads = [threading.Thread(target=fail, args=arguments) for arguments in (
            (CODE.FILE_ATTR_NOTFOUND, 2, file.attributes, "/nonexistent"),
            (CODE.PROCESS_SETPRIORITY_RANGE, 22, process.set_priority, 21))]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(len(passed), 2)


class ProcessTest(Case):
    def test_output_of_any_length_and_content(self):
        long = process.output_bytes("head -c 1000000 /dev/zero | tr '\\0' x; printf '\\377'")
        self.assertEqual(long, b"x" * 1000000 + b"\xff")
        self.assertEqual(process.output("printf 'a\\nb\\nc\\n'", first=2, count=1), "b\n")
        taken = []
        process.each_piece("yes 2>/dev/null", lambda piece: taken.append(piece) or len(taken) < 3)
        self.assertEqual(taken, [b"y\n"] * 3)
        self.assertRaisesRegex(KeyError, "y", process.each_piece, "yes 2>/dev/null", {}.__getitem__)

    def test_a_child_from_start_to_end(self):
        earliest = datetime.now() - timedelta(seconds=2)
        child = process.create("/bin/sleep", "60")
        facts = process.info(child)
        self.assertEqual((facts.id, facts.user), (child, pwd.getpwuid(os.geteuid()).pw_name))
        self.assertEqual(os.path.basename(process.path(child)), os.path.basename(
            os.path.realpath("/bin/sleep")))
        self.assertTrue(earliest <= process.start_time(child) <= datetime.now())
        process.set_priority(7, child)
        self.assertEqual(process.priority(child), os.getpriority(os.PRIO_PROCESS, child))
        process.stop(child)
        self.assertRaises(ChildProcessError, os.waitpid, child, 0)
        _, status = os.waitpid(process.run("/bin/sh", "sh", "/dev/null"), 0)
        self.assertEqual(status, 0)

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

    def test_commands_have_a_limit(self):
        system.run(f"echo done > {self.path('out')}", timedelta(seconds=30))
        self.assertEqual(Path(self.path("out")).read_text(), "done\n")
        start = time.monotonic()
        system.run("exec sleep 60", 0.5)
        self.assertLess(time.monotonic() - start, 30)
        self.assert_fails(CODE.SYSTEM_SHUTDOWN_TYPE, 22, system.shutdown, 0x10006)


if __name__ == "__main__":
    unittest.main()
