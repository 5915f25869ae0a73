// Names of up to 16 bytes packed into two words, so that a table is searched by
// comparing numbers. The order of the keys is that of strcmp().
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zavo::constants {

// Of the letters a to z alone, in every locale.
constexpr char capital(char c)
{
    return static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
}

inline constexpr std::size_t max_name_length = 16;

struct NameKey {
    std::uint64_t head = 0; // bytes 0..7, the first one highest; zero padded
    std::uint64_t tail = 0; // bytes 8..15
    friend constexpr bool operator==(const NameKey&, const NameKey&) = default;
    friend constexpr bool operator<(const NameKey& a, const NameKey& b)
    {
        return a.head != b.head ? a.head < b.head : a.tail < b.tail;
    }
};

// None for a name that is too long for any table.
constexpr std::optional<NameKey> name_key(std::string_view name)
{
    if (name.size() > max_name_length) {
        return std::nullopt;
    }
    NameKey key;
    for (std::size_t i = 0; i < name.size(); ++i) {
        std::uint64_t& word = i < 8 ? key.head : key.tail;
        word |= std::uint64_t{static_cast<unsigned char>(name[i])} << (56 - 8 * (i % 8));
    }
    return key;
}

// The keys of a table whose rows have a member `name`. A name that is too long
// stops the compilation.
template <class Row, std::size_t n>
constexpr std::array<NameKey, n> keys_of(const std::array<Row, n>& table)
{
    std::array<NameKey, n> keys;
    for (std::size_t i = 0; i < n; ++i) {
        keys[i] = name_key(table[i].name).value();
    }
    return keys;
}

template <std::size_t n>
constexpr bool ascending(const std::array<NameKey, n>& keys)
{
    return std::adjacent_find(keys.begin(), keys.end(),
                              [](const NameKey& a, const NameKey& b) { return !(a < b); }) == keys.end();
}

// Row of `name` in a table with these ascending keys; null when there is none.
template <class Row, std::size_t n>
const Row* find_row(const std::array<Row, n>& table, const std::array<NameKey, n>& keys,
                    std::string_view name)
{
    const std::optional<NameKey> key = name_key(name);
    if (!key) {
        return nullptr;
    }
    const auto place = std::lower_bound(keys.begin(), keys.end(), *key);
    return place != keys.end() && *place == *key ? &table[place - keys.begin()] : nullptr;
}

// Names are literals, so each ends with a zero. Null for a row that is not there.
template <class Row, std::size_t n>
const char* name_of_row(const std::array<Row, n>& table, int i)
{
    return i >= 0 && static_cast<std::size_t>(i) < n ? table[static_cast<std::size_t>(i)].name.data()
                                                     : nullptr;
}

} // namespace zavo::constants
