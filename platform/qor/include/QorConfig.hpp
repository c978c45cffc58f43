/// Unit configuration library: the persistent key/value store of the unit.
#pragma once

#include <string>
#include <string_view>

namespace os::bsp {

namespace key {
inline constexpr std::string_view RadiolinkMode = "RadiolinkMode";
inline constexpr std::string_view FpgaVariant = "FpgaVariant";
} // namespace key

namespace value {
/// What a key that is not set reads as.
inline constexpr std::string_view Empty;

namespace radiolinkMode {
inline constexpr std::string_view Rl4 = "Rl4";
inline constexpr std::string_view Rl5 = "Rl5";
} // namespace radiolinkMode

namespace fpgaVariant {
inline constexpr std::string_view TwoTdm = "TwoTdm";
inline constexpr std::string_view OneTdmRleEqpNoMlhc = "OneTdmRleEqpNoMlhc";
} // namespace fpgaVariant
} // namespace value

/// Access to the store. A value is any sequence of bytes. Every operation may be called from any
/// thread and any process at once: a reader sees the old or the new value, never a part, also when
/// a writer is killed. Key names are file names: not empty, no slash, no leading dot.
///
/// Writers take the lock of the file ".lock" in the store's folder. The first of them creates it,
/// for those who may write the folder: when the folder changes hands later, remove it.
class QorConfig {
public:
    /// The value of `key`, or value::Empty when it is not set.
    /// Throws std::system_error when the value is there and cannot be read.
    std::string getValue(std::string_view key) const;

    /// True when the value has reached the medium. Otherwise the old value stands, or the new one
    /// is there but may not outlast a loss of power.
    bool setValue(std::string_view key, std::string_view value);

    /// True when `key` is no longer set, also when it was not set before.
    bool clearValue(std::string_view key);
};

} // namespace os::bsp
