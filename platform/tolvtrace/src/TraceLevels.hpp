#pragma once

class TolvTrace;

/// Registers the process's trace objects and sets their levels. The registry is never destroyed, so
/// trace objects may be created and destroyed during static initialisation and at exit.
namespace trace_levels {

/// Registers `trace` and sets its level: the one configured for its name or for "*", else `level`.
void add(TolvTrace& trace, int level);
void remove(TolvTrace& trace);

} // namespace trace_levels
