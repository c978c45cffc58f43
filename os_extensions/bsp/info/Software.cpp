#include "Commands.hpp"

#include "FileDescriptor.hpp"
#include "LayerMessages.hpp"
#include "bsp/Bsp.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace bspinfo {
namespace {

constexpr const char* KernelImage = "/boot/zImage";
constexpr const char* BootLoaderImage = "/dev/mtd0";
constexpr const char* NotFound = "Not found";

using Text = char[32];

// Messages of the layer that mean "not a kernel image"; all others mean that the image cannot be
// read.
constexpr std::string_view NoKernel[] = {
    "Couldn't find ZLIB header",
    "File error before archive found. read() returned 0",
    "No Linux version found",
};

// Opens the image for its errno, which the layer does not report.
std::string problemWithOpening(const char* image) {
    return posix::FileDescriptor::own(open(image, O_RDONLY | O_NONBLOCK | O_CLOEXEC))
               ? ""
               : std::string(image) + ": " + std::strerror(errno);
}

Answer failure(const char* image, const std::string& message) {
    const bool isReadable =
        std::find(std::begin(NoKernel), std::end(NoKernel), message) != std::end(NoKernel);
    const std::string reason =
        std::string(image) + ": " +
        (message.empty() ? "no reason reported: it is cut short, or the trace bsp.core is off"
                         : message);
    return isReadable ? unknown(reason) : unreadable(reason);
}

Answer kernelRevision(const char* image) {
    const LayerMessages messages;
    Text revision = "";
    if (Bsp_getKernelRState(image, revision, sizeof revision) != 0) {
        return failure(image, messages.firstError());
    }
    return revision[0] != '\0' ? known(revision)
                               : unknown(std::string(image) + ": the release has no fourth part");
}

Answer bootLoaderRevision(const char* image) {
    const LayerMessages messages;
    Text product = "";
    Text revision = "";
    if (Bsp_getUbootProductInfo(image, product, sizeof product, revision, sizeof revision) != 0) {
        return failure(image, messages.firstError());
    }
    return std::strcmp(product, NotFound) != 0
               ? known(std::string(product) + " " + revision)
               : unknown(std::string(image) + ": no product number found");
}

Answer ofKind(const char* image, Answer (*revision)(const char*)) {
    const std::string problem = problemWithOpening(image);
    return problem.empty() ? revision(image) : unreadable(problem);
}

// Tries the kernel first, because its archive identifies it.
NamedAnswer ofAnyKind(const char* image) {
    const Answer kernel = ofKind(image, kernelRevision);
    if (kernel.state == State::Known) {
        return {"kernel", kernel};
    }
    const Answer bootLoader = ofKind(image, bootLoaderRevision);
    if (bootLoader.state == State::Known) {
        return {"boot-loader", bootLoader};
    }
    for (const Answer& answer : {kernel, bootLoader}) {
        if (answer.state == State::Unreadable) {
            return {"image", answer};
        }
    }
    return {"image", unknown(std::string(image) + ": no revision found")};
}

// The first image of a kind has the plain name; a number follows the name of the others.
std::string numbered(const std::string& kind, const Answers& before) {
    const auto count = std::count_if(before.begin(), before.end(), [&](const NamedAnswer& other) {
        return other.name.starts_with(kind);
    });
    return count == 0 ? kind : kind + "-" + std::to_string(count + 1);
}

} // namespace

Report software(const Request& request) {
    Answers answers;
    for (const char* const image : request.operands) {
        const NamedAnswer found = ofAnyKind(image);
        answers.push_back({numbered(found.name, answers), found.answer});
    }
    if (answers.empty()) {
        answers = {
            {"kernel", ofKind(KernelImage, kernelRevision)},
            {"boot-loader", ofKind(BootLoaderImage, bootLoaderRevision)}};
    }
    return {answers, statusOf(answers)};
}

} // namespace bspinfo
