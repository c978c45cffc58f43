// Reading revisions out of images: software_benchmark [KERNEL-IMAGE]
//
// The kernel image beside plain inflation of the same archive into memory; a boot-loader image of
// 16 MiB, with its labels at the end, beside reading the file and searching it twice.
#include "bsp/Bsp.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace {

std::string kernelImage;
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

void plainInflation(benchmark::State& state) {
    std::ifstream file(kernelImage, std::ios::binary);
    std::string image{std::istreambuf_iterator<char>(file), {}};
    const std::size_t start = image.find("\x1f\x8b\x08");
    std::vector<unsigned char> inflated(std::size_t{128} << 20);
    for ([[maybe_unused]] auto _ : state) {
        z_stream stream{};
        inflateInit2(&stream, 15 + 32);
        stream.next_in = reinterpret_cast<Bytef*>(image.data() + start);
        stream.avail_in = static_cast<uInt>(image.size() - start);
        stream.next_out = inflated.data();
        stream.avail_out = static_cast<uInt>(inflated.size());
        if (inflate(&stream, Z_FINISH) != Z_STREAM_END) {
            state.SkipWithError("no archive");
        }
        inflateEnd(&stream);
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

BENCHMARK(kernelRState);
BENCHMARK(plainInflation);
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
