"""Shared by the tests of an installation. They need these environment variables: BUILD, the build directory;
CMAKE, CC, CXX and NM, the tools; LIBDIR, relative to a prefix; LIBRARIES, the folder of the ABI's libraries;
EMULATOR, the emulator's command for another ABI, else empty."""
import os, re, shlex, shutil, subprocess, sys, unittest
from os import environ
from pathlib import Path

PROJECT = Path(__file__).parents[2]
SCRATCH = Path(sys.argv.pop(1))
PREFIX, SDK = SCRATCH / "prefix", SCRATCH / "sdk"
LIB = PREFIX / environ["LIBDIR"]
SDK_LIB = SDK / environ["LIBDIR"]
CMAKE, CC, CXX, LIBRARIES = (environ[name] for name in ("CMAKE", "CC", "CXX", "LIBRARIES"))
EMULATOR = environ["EMULATOR"].split()
VUNIT = PROJECT / "virtual-unit/vunit"

# A cross-linker does not find the libraries that a library needs without -rpath-link.
LINK = f"-Wl,-rpath-link,{LIBRARIES}:{SDK_LIB}"
environ["LDFLAGS"] = f"'{LINK}'"
environ["CMAKE_GENERATOR"] = "Ninja"  # there need be no make


def run(*command, status=0, **options):
    """Returns what a command prints; its exit status must be `status`."""
    done = subprocess.run([str(word) for word in command], cwd=SCRATCH, text=True,
                          **{"stdout": subprocess.PIPE, **options})
    assert done.returncode == status, f"{shlex.join(done.args)} ended with {done.returncode}:\n{done.stdout}"
    return done.stdout.rstrip()


def problems(*command, status=0, **options):
    return run(*command, status=status, stderr=subprocess.STDOUT, **options)


def configure(source, build, *options, status=0):
    return problems(CMAKE, "-S", source, "-B", build, *options, status=status)


def build(source, directory, *options):
    configure(source, directory, *options)
    run(CMAKE, "--build", directory)


def on_unit(*command, emulator=EMULATOR, **options):
    # The cross-build is configured like the packages, without RPATH: its programs need the path of libbsp, too.
    path = f"{LIBRARIES}:{LIB}" if EMULATOR else LIBRARIES
    return run(VUNIT, "run", "unit", "--", "env", f"LD_LIBRARY_PATH={path}", *emulator, *command, **options)


def install(prefix, *components):
    for component in components:
        run(CMAKE, "--install", environ["BUILD"], "--prefix", prefix, "--component", component)


def set_up():
    """Creates a unit, an SDK, and an installation without the platform's headers. The installation is moved, to
    show that it is relocatable, and its manual pages are unpacked."""
    shutil.rmtree(SCRATCH, ignore_errors=True)
    SCRATCH.mkdir(parents=True)
    run(VUNIT, "create", "unit", "--product", "TK8851_4")
    install(SDK, "platform", "platform-dev")
    install(SCRATCH / "first", "runtime", "dev", "platform", "python", "doc", "vunit")
    (SCRATCH / "first").rename(PREFIX)
    run("gzip", "-d", *(PREFIX / "share/man").rglob("*.gz"))
