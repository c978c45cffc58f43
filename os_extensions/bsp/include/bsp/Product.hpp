/// Which product the unit is, and which revision its board has.
#pragma once

#include "bsp/Vocabulary.hpp"
#include "bsp/export.h"

namespace os::bsp {

/// The unit's product; ProductId::EndOfList, with a level-1 message at every call, when the
/// platform's product code stands for none. May be called from any thread. Throws std::system_error
/// when the once-only initialisation of the first call fails.
BSP_EXPORT ProductId getProductId();

/// The revision of the unit's board, as the platform's table has it, without a range test: the
/// result may be no value of HwRevision. May be called from any thread; throws as above.
BSP_EXPORT HwRevision getHwRevision();

} // namespace os::bsp
