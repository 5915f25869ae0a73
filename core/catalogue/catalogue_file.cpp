#include "core/catalogue/catalogue_file.hpp"

#include "core/system/memory.hpp"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <sys/stat.h>
#include <utility>

namespace zavo::core {

namespace {

constexpr std::uint16_t magic = 29432;
constexpr std::int64_t header_bytes = 14;

constexpr char not_found[] = "File not found";
constexpr char bad_format[] = "File is not in zavoerr.bin format";
constexpr char out_of_space[] = "Out-of-space";

std::uint16_t swapped(std::uint16_t word)
{
    return static_cast<std::uint16_t>(word << 8 | word >> 8);
}

void swap_words(std::uint16_t* words, std::size_t n)
{
    std::transform(words, words + n, words, swapped);
}

// Blocks beyond 2^20 bytes are longer than any buffer that a header can
// promise, so a larger shift makes no difference to what can be read.
int usable_shift(std::uint16_t shift)
{
    return std::min<int>(shift, 20);
}

} // namespace

const char* CatalogueFile::open(const char* path)
{
    struct stat status_of_file {};
    if (stat(path, &status_of_file) != 0 || !S_ISREG(status_of_file.st_mode)) {
        return not_found;
    }
    file_size = status_of_file.st_size;
    file = std::fopen(path, "rb");
    if (file == nullptr) {
        return not_found;
    }
    const char* const reason = read_tables();
    if (reason != nullptr) {
        close();
    }
    return reason;
}

const char* CatalogueFile::read_tables()
{
    if (std::fread(header, 1, header_bytes, file) != header_bytes) {
        return bad_format;
    }
    const bool swap = header[0] != magic;
    if (swap) {
        swap_words(header, std::size(header));
    }
    if (header[0] != magic) {
        return bad_format;
    }
    const std::size_t count = header[2];
    const std::size_t words = 2 * count + 1;
    numbers = static_cast<std::uint16_t*>(allocate(words, sizeof *numbers));
    if (numbers == nullptr) {
        return out_of_space;
    }
    if (std::fread(numbers, sizeof *numbers, words, file) != words) {
        return bad_format;
    }
    if (swap) {
        swap_words(numbers, words);
    }
    offsets = numbers + count;
    const std::int64_t block = std::int64_t{1} << usable_shift(header[6]);
    data_base = 4 * static_cast<std::int64_t>(count) + 15;
    data_base = (data_base + block - 1) / block * block;
    return nullptr;
}

void CatalogueFile::close()
{
    if (file != nullptr) {
        std::fclose(std::exchange(file, nullptr));
    }
    release(std::exchange(numbers, nullptr));
    offsets = nullptr;
}

int CatalogueFile::find(int number) const
{
    const std::uint16_t* const first = numbers;
    const std::uint16_t* const end = first + header[2];
    const std::uint16_t* const place = std::lower_bound(first, end, number);
    return place != end && *place == number ? static_cast<int>(place - first) : -1;
}

bool CatalogueFile::read(int index, char* buffer, std::size_t* name_start)
{
    const int shift = usable_shift(header[6]);
    const std::int64_t blocks = std::int64_t{offsets[index + 1]} - offsets[index] + 1;
    const std::int64_t position = data_base + (std::int64_t{offsets[index]} << shift);
    // The block behind a record belongs to the read. Where the file or the
    // buffer has less, the record may be complete all the same.
    const std::int64_t length = std::min({blocks * (std::int64_t{1} << shift), file_size - position,
                                          static_cast<std::int64_t>(buffer_size())});
    if (length <= 0 || position > LONG_MAX) {
        return false;
    }
    const auto bytes = static_cast<std::size_t>(length);
    if (std::fseek(file, static_cast<long>(position), SEEK_SET) != 0 ||
        std::fread(buffer, 1, bytes, file) != bytes) {
        return false;
    }
    const void* const text_end = std::memchr(buffer, '\0', bytes);
    if (text_end == nullptr) {
        return false;
    }
    *name_start = static_cast<std::size_t>(static_cast<const char*>(text_end) - buffer) + 1;
    return std::memchr(buffer + *name_start, '\0', bytes - *name_start) != nullptr;
}

} // namespace zavo::core
