#ifndef BSP_EXPORT_H
#define BSP_EXPORT_H

/// Marks what the layer exports. Everything else is hidden.
#define BSP_EXPORT __attribute__((visibility("default")))

/// The parameters, counted from 1, that must not be null: compilers warn of a null that they can
/// see. While the layer itself is built it is empty, or the compiler would optimise away the
/// layer's own tests for null.
#ifdef BSP_BUILDING
#define BSP_NONNULL(...)
#else
#define BSP_NONNULL(...) __attribute__((nonnull(__VA_ARGS__)))
#endif

#endif
