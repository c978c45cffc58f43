import pydoc
import random
import signal
from typing import Any, Callable

import bsp

starts = bsp.WarmObject("STARTS", 8)
with starts.lock() as data:
    data[4] += 1
print(bsp.product_id(), bsp.slot_id(), *bsp.SwitchType, bsp.kernel_r_state("/boot/zImage"), *data)

# The module refuses arguments that would reach the library as other values, before it calls the library.
refused: list[tuple[type[Exception], Callable[..., object], tuple[Any, ...]]] = [
    *((ValueError, bsp.WarmObject, ("A", size)) for size in (-1, 1521, 2**32 + 8)),
    *((ValueError, bsp.WarmObject, (name, 8)) for name in ("", "SLOT\0X", "Grüße an alle!")),
    *((TypeError, bsp.WarmObject, arguments) for arguments in ((b"A", 8), ("A", True), ("A", 8.0))),
    *((OverflowError, bsp.set_slot_id, (slot,)) for slot in (2**31, 2**40, -(2**31) - 1)),
    *((TypeError, bsp.set_slot_id, (slot,)) for slot in (None, True, "1")),
    *((TypeError, bsp.set_radiolink_mode, (mode,)) for mode in (None, 2**32, "Rl5", bsp.SwitchType.Etm)),
    (ValueError, bsp.set_radiolink_mode, (bsp.RadiolinkMode.EndOfList,)),
    (ValueError, bsp.fpga_path, ("bremo\0",)),
    (TypeError, bsp.fpga_path, (bsp.SwitchType.Etm,)),
    (ValueError, bsp.kernel_r_state, ("/boot/zImage\0",)),
]
for error, function, arguments in refused:
    try:
        print(function, arguments, "accepted:", function(*arguments))
    except error:
        pass
try:
    bsp.uboot_product_info("/nothing")
except bsp.Error as failure:
    print(failure)

# If a signal handler raises an exception, at any point, the object's mutex is free afterwards.
signal.signal(signal.SIGALRM, signal.default_int_handler)
for _ in range(1000):
    try:
        signal.setitimer(signal.ITIMER_REAL, random.uniform(1e-6, 1e-4))
        while True:
            with starts.lock():
                starts.data[0] = bsp.RadiolinkMode.Rl5
    except KeyboardInterrupt:
        pass
print(bsp.reset_type(), bsp.slot_id(), bsp.radiolink_mode(), "bit_length" in pydoc.render_doc(bsp))
