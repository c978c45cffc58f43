/// Configuration library: the unit's persistent key/value store.
#pragma once

#include <string>
#include <string_view>

namespace os::bsp {

namespace key {
inline constexpr std::string_view RadiolinkMode = "RadiolinkMode";
inline constexpr std::string_view FpgaVariant = "FpgaVariant";
} // namespace key

namespace value {
/// The value of a key that is not set.
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

/// Access to the store. A value is any sequence of bytes. Threads and processes may call every
/// operation at the same time: a reader gets the old or the new value as a whole, even if the
/// writer is killed. A key must be a file name: not empty, no slash, no leading dot.
///
/// Writers lock the file ".lock" in the store's folder. The first writer creates it, with access
/// for those who may then write the folder. After changing the folder's owner or mode, remove the
/// file.
class QorConfig {
public:
    /// Returns the value of `key`, or value::Empty if it is not set.
    /// Throws std::system_error if the value exists but cannot be read.
    std::string getValue(std::string_view key) const;

    /// Returns true if the new value has reached the medium. Otherwise the old value is still set,
    /// or the new one is set but may not survive a loss of power.
    bool setValue(std::string_view key, std::string_view value);

    /// Returns true if `key` is no longer set, even if it was not set before.
    bool clearValue(std::string_view key);
};

} // namespace os::bsp
