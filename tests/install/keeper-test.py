# Prints how bsp-warm behaves: it notifies when the database is open, gives the shared objects the device's
# permissions, and leaves objects behind when it ends; it reports what is missing: keeper-test.py COMMAND...
import os, socket, subprocess, sys

for name, mode in ("/tmp/notify", 0o640), (f"@bsp-{os.getpid()}", 0o604):
    os.chmod("/dev/top.dtcm0", mode)
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    listener.bind(name.replace("@", "\0"))
    with subprocess.Popen(sys.argv[1:], env={**os.environ, "NOTIFY_SOCKET": name}) as keeper:
        print(listener.recv(99).decode(), {oct(os.stat(f"/dev/shm/{f}").st_mode) for f in os.listdir("/dev/shm")})
        keeper.terminate()
    print(keeper.returncode, len(os.listdir("/dev/shm")))

os.remove("/dev/shm/DtcmSync")
os.mkdir("/dev/shm/DtcmSync")
for root in "", "/nowhere":
    environment = {**os.environ, "QOR_PLATFORM_ROOT": root, "TOLVTRACE_LEVELS": "*=0"}
    keeper = subprocess.run(sys.argv[1:], env=environment, stderr=subprocess.PIPE, text=True, timeout=60)
    print(keeper.returncode, keeper.stderr, end="")
