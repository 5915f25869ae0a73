// One binary catalogue file: numbered records, found by a table of numbers and
// a table of offsets. The layout, in 16-bit words of either byte order:
//
//   0       magic 29432
//   1       free for the writer
//   2       N, number of records
//   3       free for the writer
//   4, 5    two lengths; their sum + 2 is the size of the longest read
//   6       block shift s
//   7..     N record numbers, ascending, then N + 1 offsets in blocks of 2^s bytes
//
// Offsets count from the data base: 4N + 15, one byte before the tables' end,
// rounded up to a whole block when blocks are longer than a byte. A record
// starts at its offset and is read up to the end of the block that the next
// offset names: text, zero, symbolic name, zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace zavo::core {

struct CatalogueFile {
    enum class Status { untried, failed, loaded };

    Status status = Status::untried;
    std::FILE* file = nullptr;
    std::uint16_t header[7] = {};
    std::uint16_t* numbers = nullptr; // header[2] of them, followed by the offsets
    const std::uint16_t* offsets = nullptr;
    std::int64_t data_base = 0;
    std::int64_t file_size = 0;

    // Opens the file and reads its tables. Null, or the reason why not; nothing
    // is kept then.
    const char* open(const char* path);
    void close();

    // Index of the record with this number; -1 when there is none.
    int find(int number) const;
    // Bytes that a buffer for any record needs.
    std::size_t buffer_size() const { return std::size_t{header[4]} + header[5] + 2; }
    // Reads a record into the buffer; false, buffer perhaps overwritten, when
    // it is not two zero-terminated strings within the file and buffer_size().
    // Stores where the second string starts.
    bool read(int index, char* buffer, std::size_t* name_start);

private:
    const char* read_tables();
};

} // namespace zavo::core
