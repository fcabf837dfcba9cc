// main of the replay tests: feeds a fuzz target with the golden inputs of a folder, each whole, cut
// short at many places, and with single bytes changed. It passes when nothing crashes.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Input = std::vector<uint8_t>;

constexpr size_t kVariations = 64;

size_t feed(const Input& input) {
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return 1;
}

size_t feedVariations(const Input& input) {
    size_t fed = feed(input);
    const size_t step = input.size() / kVariations + 1;
    for (size_t at = 0; at < input.size(); at += step) {
        // a copy of its own, so that a sanitizer sees a read behind the cut
        fed += feed(Input(input.begin(), input.begin() + static_cast<std::ptrdiff_t>(at)));
        for (const uint8_t other : {uint8_t{0}, uint8_t{0xFF}, uint8_t(input[at] ^ 0x01)}) {
            Input changed = input;
            changed[at] = other;
            fed += feed(changed);
        }
    }
    return fed;
}

Input contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Input(std::istreambuf_iterator<char>(in), {});
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !std::filesystem::is_directory(argv[1])) {
        std::fprintf(stderr, "usage: %s FOLDER of golden inputs\n", argv[0]);
        return 2;
    }
    size_t files = 0, fed = feed({});
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        fed += feedVariations(contents(entry.path()));
        ++files;
    }
    std::printf("%zu golden inputs, %zu calls\n", files, fed);
    return files > 0 ? 0 : 1;
}
