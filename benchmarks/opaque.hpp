#pragma once

/// Returns an entry of a table; defined elsewhere, so the caller's compiler cannot look inside.
int tableEntry(unsigned index);
