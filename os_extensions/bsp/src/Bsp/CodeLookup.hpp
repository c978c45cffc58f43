#pragma once

#include "CodeTable.hpp"
#include "CoreLog.hpp"
#include "HwCode.hpp"
#include "bsp/Bsp.h"

namespace os::bsp {

/// How a query answers a code that its table does not have.
template <class Value>
struct Unknown {
    const char* function; // the query's name
    const char* text;     // of the level-1 message, before the number
    Value answer;
};

/// What `table` has for `code`. For a code that it does not have, the answer of `unknown`, and a
/// level-1 message in the query's name; `number`, which the message ends with, is asked only while
/// the message is built.
template <class Value, std::size_t Size, class Number>
Value lookUp(
    const CodeTable<Value, Size>& table, std::int32_t code, const Unknown<Value>& unknown,
    Number number, unsigned line = __builtin_LINE()) {
    if (const Value* const value = table.find(code)) {
        return *value;
    }
    BSP_LOG_AT(coreLog(), 1, line, unknown.function, unknown.text, number());
    return unknown.answer;
}

/// For Number: a word of the hardware code in the unit's variant row, which is what most messages
/// quote rather than the unit's own word.
inline auto variantWord(HwWord word) {
    return [word] {
        return Bsp_getQorHwVariant()->hwCode.words[word];
    };
}

} // namespace os::bsp
