/// Device library, C interface: memory devices by name. Callable from any thread.
#ifndef DDEVIO_H
#define DDEVIO_H

#ifdef __cplusplus
extern "C" {
#endif

/// Opens a device, for example "top.dtcm0". Returns a handle, or a negative errno value.
int DDevIo_open(const char* name);

/// Returns a descriptor of the open device, for mmap() at offset 0. The handle owns it.
int DDevIo_getFileDescriptor(int handle);

/// Closes the handle; mappings stay valid. Returns 0, or a negative errno value.
int DDevIo_close(int handle);

#ifdef __cplusplus
}
#endif

#endif
