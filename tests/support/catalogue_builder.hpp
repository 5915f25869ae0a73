// Writes small catalogue files for tests, good ones and bad ones.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace zavo::test {

struct CatalogueEntry {
    std::uint16_t number;
    std::string text;
    std::string name;
};

struct CatalogueBuilder {
    std::vector<CatalogueEntry> entries = {};
    bool swapped = false; // the byte order that this machine does not have
    unsigned shift = 0;

    // Built by build(); change them before bytes() to make a bad file.
    std::vector<std::uint16_t> header = {};
    std::vector<std::uint16_t> numbers = {};
    std::vector<std::uint16_t> offsets = {};
    std::string records = {};

    CatalogueBuilder& build()
    {
        header.clear();
        numbers.clear();
        offsets.clear();
        const std::size_t block = std::size_t{1} << shift;
        const std::size_t tables_end = 4 * entries.size() + 16;
        const std::size_t base = (4 * entries.size() + 15 + block - 1) / block * block;
        std::size_t offset = (tables_end - base + block - 1) / block;
        records.assign(base + offset * block - tables_end, '\0');
        std::size_t longest = 0;
        for (const CatalogueEntry& entry : entries) {
            std::string record = entry.text + '\0' + entry.name + '\0';
            record.resize((record.size() + block - 1) / block * block);
            numbers.push_back(entry.number);
            offsets.push_back(static_cast<std::uint16_t>(offset));
            offset += record.size() / block;
            records += record;
            longest = std::max(longest, record.size() + block);
        }
        offsets.push_back(static_cast<std::uint16_t>(offset));
        records.append(block, '\0');
        header = {29432,
                  0,
                  static_cast<std::uint16_t>(entries.size()),
                  0,
                  static_cast<std::uint16_t>(longest - 2),
                  0,
                  static_cast<std::uint16_t>(shift)};
        return *this;
    }

    std::string bytes() const
    {
        std::string result;
        for (const auto* words : {&header, &numbers, &offsets}) {
            for (const std::uint16_t word : *words) {
                const auto stored =
                    static_cast<std::uint16_t>(swapped ? word << 8 | word >> 8 : static_cast<int>(word));
                result.append(reinterpret_cast<const char*>(&stored), sizeof stored);
            }
        }
        return result + records;
    }
};

// A folder of its own that goes with its contents.
class ScratchFolder {
public:
    ScratchFolder()
    {
        static int count = 0;
        do {
            path_ = std::filesystem::temp_directory_path() / ("zavo-test-" + std::to_string(count++));
        } while (!std::filesystem::create_directory(path_));
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string path() const { return path_.string(); }
    void write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
    }

private:
    std::filesystem::path path_;
};

} // namespace zavo::test
