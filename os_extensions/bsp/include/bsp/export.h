#ifndef BSP_EXPORT_H
#define BSP_EXPORT_H

/// Marks what the layer exports. Everything else is hidden.
#define BSP_EXPORT __attribute__((visibility("default")))

#endif
