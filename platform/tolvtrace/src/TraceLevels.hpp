#pragma once

class TolvTrace;

/// Keeps the process's trace objects at the levels asked for. Never destroyed, so trace objects may
/// come and go during static initialisation and at exit.
namespace trace_levels {

/// Registers `trace` and gives it the level asked for by name, or `level`.
void add(TolvTrace& trace, int level);
void remove(TolvTrace& trace);

} // namespace trace_levels
