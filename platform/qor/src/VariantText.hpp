#pragma once

#include "HwVariant.hpp"

#include <optional>
#include <string>
#include <vector>

/// The rows of a variant file, empty where it has none. Nothing when there is no such file, or when
/// it is malformed or unreadable; the latter is told in one line on standard error.
std::optional<std::vector<os::bsp::QorHwVariant>> readVariantFile(const std::string& path);
