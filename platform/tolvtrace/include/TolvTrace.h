/// Trace library, C interface.
#ifndef TOLVTRACE_H
#define TOLVTRACE_H

#ifdef __cplusplus
extern "C" {
#endif

/// Sets the level of every trace object called `trace` in this process, including those created
/// later; "*" stands for all names. Level 0 switches a trace off. Callable from any thread.
void TolvTrace_setLevel(const char* trace, int level);

#ifdef __cplusplus
}
#endif

#endif
