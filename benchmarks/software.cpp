// Reading revisions out of images: software_benchmark [KERNEL-IMAGE]
//
// The kernel image beside inflation of the same archive into memory, and beside the usual pipeline;
// a boot-loader image of 16 MiB, with its labels at the end, beside reading the file and searching
// it twice.
#include "bsp/Bsp.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace {

std::string kernelImage;
constexpr const char* Marker = "\x1f\x8b\x08";
constexpr const char* BootLoaderImage = "/dev/shm/software_benchmark.u-boot";

void kernelRState(benchmark::State& state) {
    char rState[8] = "";
    for ([[maybe_unused]] auto _ : state) {
        if (Bsp_getKernelRState(kernelImage.c_str(), rState, sizeof rState) != 0) {
            state.SkipWithError("no R-state");
        }
    }
    state.SetLabel(rState);
}

std::string readImage() {
    std::ifstream file(kernelImage, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Inflates the archive in `image` into `inflated`, which grows to what is needed; false where
/// there is none.
bool inflate(std::string_view image, std::vector<unsigned char>& inflated) {
    z_stream stream{};
    inflateInit2(&stream, 15 + 32);
    image.remove_prefix(std::min(image.find(Marker), image.size()));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(image.data()));
    stream.avail_in = static_cast<uInt>(image.size());
    int result = Z_OK;
    while (result == Z_OK) {
        if (stream.total_out == inflated.size()) {
            inflated.resize(std::max<std::size_t>(1 << 20, 2 * inflated.size()));
        }
        stream.next_out = inflated.data() + stream.total_out;
        stream.avail_out = static_cast<uInt>(inflated.size() - stream.total_out);
        result = inflate(&stream, Z_NO_FLUSH);
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END;
}

// The image does not tell how large the kernel is, so the memory grows with what comes.
void inflateIntoMemory(benchmark::State& state) {
    const std::string image = readImage();
    for ([[maybe_unused]] auto _ : state) {
        std::vector<unsigned char> inflated;
        if (!inflate(image, inflated)) {
            state.SkipWithError("no archive");
        }
    }
}

// No memory is asked for at all: zlib's own time.
void inflateIntoReusedMemory(benchmark::State& state) {
    const std::string image = readImage();
    std::vector<unsigned char> inflated;
    for ([[maybe_unused]] auto _ : state) {
        if (!inflate(image, inflated)) {
            state.SkipWithError("no archive");
        }
    }
}

// `launcher` goes in front of the shell that runs the pipeline.
void zcatStringsGrep(benchmark::State& state, const std::string& launcher) {
    const std::size_t start = readImage().find(Marker);
    setenv("IMAGE", kernelImage.c_str(), 1);
    setenv("START", std::to_string(start + 1).c_str(), 1);
    const std::string command = launcher + "sh -c 'tail -c +$START \"$IMAGE\" | zcat 2> /dev/null |"
                                           " strings | grep \"Linux version\" > /dev/null'";
    for ([[maybe_unused]] auto _ : state) {
        if (std::system(command.c_str()) != 0) { // NOLINT(cert-env33-c): it is what is measured
            state.SkipWithError("no banner");
        }
    }
}

void writeBootLoader() {
    std::string image((std::size_t{16} << 20) - 60, 'x');
    image += "\nProduct number: CXC 132 1234\nR-state: R5C02\n";
    std::ofstream(BootLoaderImage, std::ios::binary) << image;
}

void bootLoader(benchmark::State& state) {
    char product[32];
    char rState[32];
    for ([[maybe_unused]] auto _ : state) {
        Bsp_getUbootProductInfo(BootLoaderImage, product, sizeof product, rState, sizeof rState);
    }
    state.SetLabel(rState);
}

void readAndSearchTwice(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) {
        const int fd = open(BootLoaderImage, O_RDONLY);
        struct stat status {};
        fstat(fd, &status);
        const auto size = static_cast<std::size_t>(status.st_size);
        auto* const memory = static_cast<char*>(std::malloc(size));
        if (read(fd, memory, size) != status.st_size) {
            state.SkipWithError("short read");
        }
        benchmark::DoNotOptimize(memmem(memory, size, "Product number: ", 16));
        benchmark::DoNotOptimize(memmem(memory, size, "R-state: ", 9));
        std::free(memory);
        close(fd);
    }
}

BENCHMARK(kernelRState)->UseRealTime();
BENCHMARK(inflateIntoMemory)->UseRealTime();
BENCHMARK(inflateIntoReusedMemory)->UseRealTime();
BENCHMARK_CAPTURE(zcatStringsGrep, all_cores, "")->UseRealTime();
BENCHMARK_CAPTURE(zcatStringsGrep, one_core, "taskset -c 0 ")->UseRealTime();
BENCHMARK(bootLoader);
BENCHMARK(readAndSearchTwice);

} // namespace

int main(int argc, char** argv) { // NOLINT(bugprone-exception-escape): it may end so
    benchmark::Initialize(&argc, argv);
    if (argc > 1) {
        kernelImage = argv[1];
    }
    writeBootLoader();
    benchmark::RunSpecifiedBenchmarks();
    unlink(BootLoaderImage);
    return 0;
}
