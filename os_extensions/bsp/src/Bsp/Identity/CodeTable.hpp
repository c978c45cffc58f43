#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace os::bsp {

template <class Value>
struct CodeRow {
    std::int32_t code;
    Value value;
};

/// Maps hardware codes to values: written as rows, looked up by index. Codes run from 0 to Size -
/// 1; a row with another code, or two rows with the same code, do not compile.
template <class Value, std::size_t Size>
class CodeTable {
public:
    consteval CodeTable(std::initializer_list<CodeRow<Value>> rows) {
        for (const CodeRow<Value>& row : rows) {
            const auto index = static_cast<std::uint32_t>(row.code);
            if (index >= Size) {
                throw "a row's code is outside the size of its table";
            }
            Place& place = m_places[index];
            if (place.taken) {
                throw "two rows have the same code";
            }
            place = {true, row.value};
        }
    }

    /// Null for a code without a row, also for one that is negative or too large.
    constexpr const Value* find(std::int32_t code) const noexcept {
        const auto index = static_cast<std::uint32_t>(code);
        return index < Size && m_places[index].taken ? &m_places[index].value : nullptr;
    }

private:
    struct Place {
        bool taken;
        Value value;
    };

    std::array<Place, Size> m_places{};
};

} // namespace os::bsp
