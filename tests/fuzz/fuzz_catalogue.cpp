// Reads every record of a catalogue file made of the input: whatever it holds,
// texts come back and no byte beyond the buffers is touched. The header's magic
// is put in place, so that the fuzzer need not find it; the first byte of the
// input chooses the byte order.

#include "core/catalogue/catalogue.hpp"
#include "core/catalogue/catalogue_file.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

std::string scratch_file()
{
    static const std::string path = (std::filesystem::temp_directory_path() /
                                     ("zavo-fuzz-" + std::to_string(std::random_device{}()) + ".bin"))
                                        .string();
    return path;
}

// Whether every record read is two terminated strings within the buffer.
void read_all(zavo::core::CatalogueFile& file)
{
    for (int i = 0; i < file.header[2]; ++i) {
        std::vector<char> buffer(file.buffer_size());
        std::size_t name_start = 0;
        if (file.read(i, buffer.data(), &name_start)) {
            const std::size_t name_length = std::strlen(buffer.data() + name_start);
            if (name_start + name_length >= buffer.size()) {
                std::abort();
            }
        }
    }
    for (int number = -1; number < 66000; number += 97) {
        file.find(number);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.size() >= 3) {
        const bool big = (bytes[0] & 1) != 0;
        bytes.erase(0, 1);
        bytes[0] = static_cast<char>(big ? 0x72 : 0xf8);
        bytes[1] = static_cast<char>(big ? 0xf8 : 0x72);
    }
    std::FILE* const out = std::fopen(scratch_file().c_str(), "wb");
    if (out == nullptr) {
        return 0;
    }
    std::fwrite(bytes.data(), 1, bytes.size(), out);
    std::fclose(out);
    zavo::core::CatalogueFile file;
    if (file.open(scratch_file().c_str()) == nullptr) {
        read_all(file);
    }
    file.close();
    std::remove(scratch_file().c_str());
    return 0;
}
