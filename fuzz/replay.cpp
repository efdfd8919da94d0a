// replay FILE-OR-DIRECTORY...   gives each file to the fuzz target that it is linked with
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            if (entry.is_regular_file()) {
                std::ifstream in(entry.path(), std::ios::binary);
                const std::string text(std::istreambuf_iterator<char>(in), {});
                // Every operation gets it, with and without a second line in its argument.
                for (int first = 0; first < 64; ++first) {
                    const std::string input =
                        std::string{static_cast<char>(first / 2), static_cast<char>(first % 2 * 128)} +
                        text;
                    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
                }
                LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(text.data()), text.size());
                ++replayed;
            }
        }
    }
    std::cout << replayed << " files replayed\n";
    return replayed > 0 ? 0 : 1;
}
