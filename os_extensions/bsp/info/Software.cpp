#include "Commands.hpp"

#include "FileDescriptor.hpp"
#include "bsp/Bsp.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace bspinfo {
namespace {

constexpr const char* KernelImage = "/boot/zImage";
constexpr const char* BootLoaderImage = "/dev/mtd0";
constexpr const char* NotFound = "Not found";

using Text = char[32];

// Whether it can be opened at all; the layer's functions do not tell why they could not.
Answer openable(const char* image) {
    if (posix::FileDescriptor::own(open(image, O_RDONLY | O_NONBLOCK | O_CLOEXEC))) {
        return {State::Known, ""};
    }
    return {State::Unreadable, std::string(image) + " cannot be read: " + std::strerror(errno)};
}

Answer kernelRevision(const char* image) {
    Text revision = "";
    const bool found = Bsp_getKernelRState(image, revision, sizeof revision) == 0;
    const bool known = found && revision[0] != '\0';
    return {
        known ? State::Known : State::Unknown,
        known ? revision : std::string("no R-state in ") + image};
}

Answer bootLoaderRevision(const char* image) {
    Text product = "";
    Text revision = "";
    const bool read =
        Bsp_getUbootProductInfo(image, product, sizeof product, revision, sizeof revision) == 0;
    const bool known = read && std::strcmp(product, NotFound) != 0;
    return {
        known ? State::Known : State::Unknown, known
                                                   ? std::string(product) + " " + revision
                                                   : std::string("no product number in ") + image};
}

Answer orUnreadable(const char* image, Answer (*revision)(const char*)) {
    const Answer opened = openable(image);
    return opened.state == State::Known ? revision(image) : opened;
}

// A kernel image is known by its archive, so it is tried first.
NamedAnswer ofAnyKind(const char* image) {
    const Answer opened = openable(image);
    if (opened.state != State::Known) {
        return {"image", opened};
    }
    if (const Answer kernel = kernelRevision(image); kernel.state == State::Known) {
        return {"kernel", kernel};
    }
    const Answer bootLoader = bootLoaderRevision(image);
    return bootLoader.state == State::Known
               ? NamedAnswer{"boot-loader", bootLoader}
               : NamedAnswer{"image", {State::Unknown, std::string("no revision in ") + image}};
}

} // namespace

Answers softwareRevisions(std::span<char* const> images) {
    if (images.empty()) {
        return {
            {"kernel", orUnreadable(KernelImage, kernelRevision)},
            {"boot-loader", orUnreadable(BootLoaderImage, bootLoaderRevision)}};
    }
    Answers answers;
    for (const char* const image : images) {
        NamedAnswer found = ofAnyKind(image);
        const std::string kind = found.name;
        const auto isOfKind = [&](const NamedAnswer& other) {
            return other.name.starts_with(kind);
        };
        const auto before = std::count_if(answers.begin(), answers.end(), isOfKind);
        found.name += before > 0 ? "-" + std::to_string(before + 1) : "";
        answers.push_back(std::move(found));
    }
    return answers;
}

} // namespace bspinfo
