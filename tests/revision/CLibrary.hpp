#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace test {

/// Calls of a function of the C library or zlib that this program answers in its place: `count` of
/// them from the `first`-th on give -1 and the error; where that is 0, they do nothing and give 0.
struct Fault {
    std::string_view symbol;
    int first = 1;
    int error = 0;
    int count = 1;
};

/// The records of `body`, without trace, source and line; the descriptor that it gets first shows
/// as "first". It has to close all that it opens.
std::string recordsOf(int level, const Fault& fault, const std::function<void()>& body);

} // namespace test
