"""Builds the wheel with nothing but Python's library, and leaves nothing in the checkout.

With the setting `native`, a folder with the library and its commands, the wheel carries them and is
for one platform: that of the setting `platform`, such as manylinux_2_34_x86_64.
"""

import base64
import hashlib
import io
import tarfile
import zipfile
from pathlib import Path

ROOT = Path(__file__).parents[1]


def metadata():
    release = next(line.split('"')[1] for line in (ROOT / "mirovan/codes.py").open()
                   if line.startswith("RELEASE"))
    fields = (ROOT / "METADATA").read_text(encoding="utf-8").format(release=release)
    return release, fields + "\n" + (ROOT / "README.md").read_text(encoding="utf-8")


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    settings = config_settings or {}
    release, fields = metadata()
    pure = "false" if "native" in settings else "true"
    tag = "py3-none-" + settings.get("platform", "any")
    files = {f"mirovan/{path.name}": path for path in sorted((ROOT / "mirovan").glob("*.py*"))
             if path.is_file()}
    if "native" in settings:
        native = Path(settings["native"])
        files.update((f"mirovan/{path.relative_to(native)}", path)
                     for path in sorted(native.rglob("*")) if path.is_file())
    info = f"mirovan-{release}.dist-info"
    texts = {f"{info}/METADATA": fields,
             f"{info}/WHEEL": "Wheel-Version: 1.0\nGenerator: mirovan_build\n"
                              f"Root-Is-Purelib: {pure}\nTag: {tag}\n"}
    record = []
    name = f"mirovan-{release}-{tag}.whl"
    with zipfile.ZipFile(Path(wheel_directory, name), "w", zipfile.ZIP_DEFLATED) as wheel:
        contents = [(at, path.read_bytes(), path.stat().st_mode) for at, path in files.items()]
        contents += [(at, text.encode(), 0o100644) for at, text in texts.items()]
        for at, content, mode in contents:
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).decode().rstrip("=")
            record.append(f"{at},sha256={digest},{len(content)}\n")
            entry = zipfile.ZipInfo(at)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (mode | 0o444) << 16
            wheel.writestr(entry, content)
        wheel.writestr(f"{info}/RECORD", "".join(record) + f"{info}/RECORD,,\n")
    return name


def build_sdist(sdist_directory, config_settings=None):
    release, fields = metadata()
    name = f"mirovan-{release}"
    with tarfile.open(Path(sdist_directory, name + ".tar.gz"), "w:gz") as archive:
        for part in ("METADATA", "README.md", "pyproject.toml", "build_backend", "mirovan"):
            archive.add(ROOT / part, f"{name}/{part}",
                        filter=lambda entry: None if "__pycache__" in entry.name else entry)
        about = tarfile.TarInfo(f"{name}/PKG-INFO")
        about.size = len(fields.encode())
        archive.addfile(about, io.BytesIO(fields.encode()))
    return name + ".tar.gz"
