"""Prints what the library reports about this machine: python -m mirovan."""

from . import __version__, hardware, library_version, process, system


def main() -> None:
    version, memory = system.version(), system.memory()
    processor, volume = hardware.processor(), hardware.volume("/")
    screen, own = system.screen(), process.info()
    gib = 1 << 30
    for name, value in (
            ("mirovan", f"{__version__}, library {library_version()}"),
            ("system", f"{version.name} {version.release}"),
            ("host", system.host_name()),
            ("user", system.user_name()),
            ("started", system.start_time()),
            ("processor", f"{processor.name or 'unknown'}, {processor.online} online"),
            ("load", f"{system.cpu_load()} % of one processor, idle {system.idle_percent()} %"),
            ("memory", f"{memory.total / gib:.1f} GiB, {memory.free_percent} % free"),
            ("volume /", f"{volume.size / gib:.1f} GiB, {volume.available / gib:.1f} available"),
            ("volumes", ", ".join(hardware.volume_names()) or "none"),
            ("display", f"{screen.width} x {screen.height}" if screen.width else "none"),
            ("process", f"{own.name} ({own.id}), {own.threads} threads")):
        print(f"{name:<10} {value}")


main()
