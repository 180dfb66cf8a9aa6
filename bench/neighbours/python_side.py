"""The sides in Python: the standard library, and psutil. Used as the programs beside it are, behind
the name of the side."""

import fnmatch
import os
import platform
import shutil
import subprocess
import sys
import time

import psutil

COLUMNS = ["pid", "ppid", "uids", "name", "status", "nice", "create_time", "num_threads",
           "memory_info", "cpu_times"]
TRUE, ECHO, MUCH = ["/bin/true"], ["/bin/echo", "a"], ["/usr/bin/seq", "1", "3000000"]
LARGE = int(os.environ.get("NEIGHBOURS_LARGE", "0"))
SMALL = int(os.environ.get("NEIGHBOURS_SMALL", "0"))
SUBJECT = int(os.environ.get("NEIGHBOURS_PROCESS", "0"))


def walk(path, pattern="*"):
    files = 0
    with os.scandir(path) as entries:
        for entry in entries:
            if entry.is_dir(follow_symlinks=False):
                files += walk(entry.path, pattern)
            elif entry.is_file(follow_symlinks=False):
                files += pattern == "*" or fnmatch.fnmatchcase(entry.name, pattern)
    return files


def copy_small(folder):
    for file in range(SMALL):
        shutil.copyfile(f"{folder}/small/{file}", f"{folder}/copies/{file}")
    return SMALL


def zeros(folder):
    block = bytes(1 << 20)
    with open(folder + "/out", "wb", buffering=0) as file:
        return sum(file.write(block) for _ in range(LARGE))


def output(command):
    return len(subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              check=True).stdout)


def volumes():
    return sum(psutil.disk_usage(volume.mountpoint).total > 0
               for volume in psutil.disk_partitions())


SIDES = {
    "python": {
        "walk": lambda folder: walk(folder + "/tree"),
        "filter": lambda folder: walk(folder + "/tree", "*.txt"),
        "copy_large": lambda folder: shutil.copyfile(folder + "/large", folder + "/out") and 1,
        "copy_small": copy_small,
        "delete": lambda folder: shutil.rmtree(folder + "/doomed") or 1,
        "zeros": zeros,
        "volume": lambda folder: shutil.disk_usage(folder).total,
        "spawn": lambda _: subprocess.run(TRUE, check=True).returncode + 1,
        "shell": lambda _: subprocess.run("true", shell=True, check=True).returncode + 1,
        "execute": lambda _: output(ECHO),
        "capture": lambda _: output(MUCH),
        "identity": lambda _: len(" ".join(os.uname())) + len(os.sched_getaffinity(0))
                              + len(platform.freedesktop_os_release()),
    },
    "psutil": {
        "volume": lambda folder: psutil.disk_usage(folder).total,
        "volumes": lambda _: volumes(),
        "record": lambda _: len(psutil.Process(SUBJECT).as_dict(COLUMNS)),
        "table": lambda _: sum(bool(each.info) for each in psutil.process_iter(COLUMNS)),
        "memory": lambda _: psutil.virtual_memory().total + psutil.swap_memory().total,
        "load": lambda _: len(psutil.cpu_times(percpu=True)),
    },
}


def main(side, row=None, folder=None, wanted="0", resident="0"):
    if row is None:
        print("\n".join(SIDES[side]))
        return
    run = SIDES[side][row]
    memory = bytearray(os.urandom(1 << 20)) * int(resident)
    if float(wanted) > 0:
        run(folder)
    start, runs = time.perf_counter(), 0
    while runs == 0 or time.perf_counter() - start < float(wanted):
        counted = run(folder)
        runs += 1
    print(f"{(time.perf_counter() - start) / runs:.9f} {counted}")
    del memory


if __name__ == "__main__":
    main(*sys.argv[1:])
