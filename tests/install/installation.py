"""What the tests of an installation share. The environment names the BUILD directory, CMAKE, the compilers CC
and CXX, NM, LIBDIR below a prefix, where the ABI's LIBRARIES are and, for another ABI, the EMULATOR."""
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

# The linker of another ABI does not look for what a library needs by itself.
LINK = f"-Wl,-rpath-link,{LIBRARIES}:{SDK_LIB}"
environ["LDFLAGS"] = f"'{LINK}'"


def run(*command, status=0, **options):
    """What a command prints; it has to end with `status`."""
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
    run(CMAKE, "--build", directory, "--parallel", len(os.sched_getaffinity(0)))


def on_unit(*command, emulator=EMULATOR, **options):
    # As packages, another ABI's programs are installed for the path of a system.
    path = f"{LIBRARIES}:{LIB}" if EMULATOR else LIBRARIES
    return run(VUNIT, "run", "unit", "--", "env", f"LD_LIBRARY_PATH={path}", *emulator, *command, **options)


def install(prefix, *components):
    for component in components:
        run(CMAKE, "--install", environ["BUILD"], "--prefix", prefix, "--component", component)


def set_up():
    """A unit, the platform's headers and libraries, and an installation without those headers, which was moved."""
    shutil.rmtree(SCRATCH, ignore_errors=True)
    SCRATCH.mkdir(parents=True)
    run(VUNIT, "create", "unit", "--product", "TK8851_4")
    install(SDK, "platform", "platform-dev")
    install(SCRATCH / "first", "runtime", "dev", "platform", "python", "doc", "vunit")
    (SCRATCH / "first").rename(PREFIX)
