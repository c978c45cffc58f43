#include "Commands.hpp"

#include "PlatformRoot.hpp"
#include "Printable.hpp"
#include "Stream.hpp"
#include "WarmImage.hpp"
#include "WarmSharing.hpp"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

namespace bspinfo {
namespace {

using namespace os::bsp::dtcm;

constexpr std::size_t ShownBytes = 8;
constexpr std::size_t BytesInLine = 16;

const char* textOf(BlockKind kind) {
    constexpr const char* Names[] = {"free", "used", "noise"};
    return Names[static_cast<std::size_t>(kind)];
}

std::string numberOf(const WarmArea& area, const Block& block) {
    return std::to_string(&block - area.blocks + 1);
}

Answer describeBlock(const Block& block, const std::string& mutex) {
    const bool isFree = kindOf(block) == BlockKind::Free;
    Answer answer = known(textOf(kindOf(block)));
    answer.columns = {
        {"name", std::string(nameOf(block)), BlockNameSize},
        {"mutex", mutex, 26},
        {"data", isFree ? "" : hexadecimal({block.data, ShownBytes}), 0}};
    return answer;
}

Answers describeBlocks(const WarmArea& area, const std::vector<std::string>& mutexes) {
    Answers answers;
    for (const Block& block : area.blocks) {
        const std::string mutex = mutexes.empty() ? "-" : mutexes[answers.size()];
        answers.push_back({"block-" + numberOf(area, block), describeBlock(block, mutex)});
    }
    return answers;
}

// "x": creates a new file and never overwrites anything, not even a device.
void save(const std::string& path, const WarmArea& area) {
    const posix::Stream file(std::fopen(path.c_str(), "wxe"));
    const bool done = file != nullptr &&
                      std::fwrite(&area, 1, sizeof area, file.get()) == sizeof area &&
                      std::fflush(file.get()) == 0;
    if (!done) {
        throw std::system_error(errno, std::generic_category(), path + " cannot be written");
    }
}

void append(Answers& answers, const Answers& more) {
    answers.insert(answers.end(), more.begin(), more.end());
}

// Mutexes and lock belong to the current system run, so a dump has none.
Report describe(const WarmArea& area, bool isDump) {
    Answer mutexState = known("one for each block");
    const auto mutexes = isDump ? std::vector<std::string>() : describeMutexes(mutexState);
    const std::string problem = problemOf(area);
    Report report = {describeBlocks(area, mutexes), problem.empty() ? 0 : 1};
    append(
        report.answers,
        {{"blocks", known(problem.empty() ? "whole" : problem)}, {"slot-id", slotId(area)}});
    if (!isDump) {
        report.answers.push_back({"mutexes", mutexState});
        append(report.answers, describeLock());
        report.answers.push_back({"used-by", describeUsers()});
    }
    return report;
}

NamedAnswer describeLine(std::span<const std::byte> data, std::size_t offset) {
    const auto bytes = data.subspan(offset, BytesInLine);
    std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return !isPrintable(byte); }, '.');
    Answer answer = known(hexadecimal(bytes));
    answer.columns = {{"ascii", text, 0}};
    return {hexadecimal(static_cast<std::uint32_t>(offset), 3), answer};
}

Report dump(const WarmArea& area, const std::string& name) {
    const Block* const block = findObject(area, name);
    if (block == nullptr) {
        return {{{"block", unknown("no block has the name " + name)}}, 1};
    }
    Report report = {{{"block", known(numberOf(area, *block))}}, 0};
    for (std::size_t offset = 0; offset < sizeof block->data; offset += BytesInLine) {
        report.answers.push_back(describeLine(block->data, offset));
    }
    return report;
}

} // namespace

Report warm(const Request& request) {
    const bool isDump = !request.operands.empty();
    const std::string path =
        isDump ? request.operands.front() : platform::path(std::string("dev/") + WarmAreaDevice);
    const Mapping mapping = mapForReading(path, sizeof(WarmArea));
    if (mapping.memory == nullptr) {
        return {{{"area", unreadable(mapping.problem)}}, 2};
    }
    // A copy, because other processes may write to the area meanwhile.
    const auto area = std::make_unique<WarmArea>(*static_cast<const WarmArea*>(mapping.memory));
    if (!request.saved.empty()) {
        save(request.saved, *area);
    }
    Report report = request.object.empty() ? describe(*area, isDump) : dump(*area, request.object);
    report.answers.insert(report.answers.begin(), {"area", known(path)});
    report.status = isAnyUnreadable(report.answers) ? 2 : report.status;
    return report;
}

} // namespace bspinfo
