// A deterministic stand-in for libFuzzer where clang is not available: feeds the seed corpus and a
// fixed number of mutations of it, from a fixed seed, to the fuzz target.
//   property_fuzz_replay CORPUS_DIR ITERATIONS
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: property_fuzz_replay CORPUS_DIR ITERATIONS\n");
        return 2;
    }
    std::vector<std::string> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream in(entry.path(), std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    if (seeds.empty())
        return 1;
    const long iterations = std::atol(argv[2]);
    static constexpr char pieces[] = "{}[]\":, \\0x79e3UserKeyMapping\t\n-";
    const auto feed = [](const std::string& input) {
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    };
    std::mt19937 random(1);
    for (const auto& seed : seeds)
        feed(seed);
    for (long i = 0; i < iterations; ++i) {
        std::string input = seeds[random() % seeds.size()];
        for (unsigned edits = 1 + random() % 4; edits > 0; --edits) {
            const std::size_t at = input.empty() ? 0 : random() % (input.size() + 1);
            switch (random() % 4) {
                case 0:
                    input.insert(at, 1, pieces[random() % (sizeof pieces - 1)]);
                    break;
                case 1:
                    if (at < input.size())
                        input.erase(at, 1 + random() % 8);
                    break;
                case 2:
                    if (at < input.size())
                        input[at] = static_cast<char>(random());
                    break;
                default:
                    if (at < input.size())
                        input.insert(at, input.substr(at, 1 + random() % 16));
                    break;
            }
        }
        feed(input);
    }
    std::printf("property_fuzz_replay: %zu seeds and %ld mutations passed\n", seeds.size(),
                iterations);
    return 0;
}
