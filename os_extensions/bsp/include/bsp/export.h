#ifndef BSP_EXPORT_H
#define BSP_EXPORT_H

/// Marks what the layer exports. Everything else is hidden.
#define BSP_EXPORT __attribute__((visibility("default")))

/// The parameters, counted from 1, that must not be null: compilers warn of a null they can see.
/// In the layer itself it says nothing, so that no test of an argument is optimised away.
#ifdef BSP_BUILDING
#define BSP_NONNULL(...)
#else
#define BSP_NONNULL(...) __attribute__((nonnull(__VA_ARGS__)))
#endif

#endif
