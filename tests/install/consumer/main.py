import bsp

starts = bsp.WarmObject("STARTS", 8)
with starts.lock() as data:
    data[4] += 1
print(bsp.product_id(), bsp.slot_id(), *bsp.SwitchType, bsp.kernel_r_state("/boot/zImage"), *data)
