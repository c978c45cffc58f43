/// Included first by every header of the C++ interface.
#pragma once

#if __cplusplus < 202002L
#error "The C++ interface of the board-support layer needs C++20; bsp/Bsp.h serves C and C++17"
#endif
