#pragma once

/// How often the process has called operator new, libraries included.
unsigned long allocations();
