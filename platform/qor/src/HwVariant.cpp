#include "HwVariant.hpp"

#include "File.hpp"
#include "PlatformRoot.hpp"
#include "VariantText.hpp"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>

namespace os::bsp {
namespace {

constexpr const char* BuiltInVariants =
#include "BuiltInVariants.inc"
    ;

void complain(const std::string& where, const char* reason) {
    std::fprintf(
        stderr, "%s: %s; the built-in hardware variants are used\n", where.c_str(), reason);
}

std::vector<QorHwVariant> loadVariants() {
    const std::string path = platform::path("etc/qor/hw_variants");
    if (const auto text = posix::readFile(path)) {
        Variants variants = parseVariants(*text);
        if (variants.malformedLine == 0) {
            return std::move(variants.rows);
        }
        complain(path + ":" + std::to_string(variants.malformedLine), "not a row of 16 integers");
    } else if (errno != ENOENT) {
        complain(path, std::strerror(errno));
    }
    return parseVariants(BuiltInVariants).rows;
}

} // namespace

// Other threads and later destructors may read the table until the process ends. So the vector is
// constructed in plain memory, and nothing destroys it.
extern "C" {
alignas(std::vector<QorHwVariant>)
    [[gnu::visibility("hidden")]] std::byte hwVariantsMemory[sizeof(std::vector<QorHwVariant>)];
}
extern std::vector<QorHwVariant> hwVariants [[gnu::alias("hwVariantsMemory")]];

[[maybe_unused]] const auto* const built = new (&hwVariants) std::vector(loadVariants());

bool operator==(QorHwVariant const& variant, QorHwCode const& code) {
    return variant.hwCode.words == code.words;
}

} // namespace os::bsp
