// The grammar of unit expressions, case by case and against a second parser.

#include "constants/tables.hpp"
#include "constants/units.h"
#include "core/kernels/vector_kernels.h"
#include "tests/unit/constants/reporting_test.hpp"

#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>

namespace {

using Dims = std::array<int, 5>;

struct Parsed {
    Dims dims;
    float factor;
    int code;
};

Parsed parse(const std::string& text)
{
    Parsed p{{9, 9, 9, 9, 9}, -1.0F, 0};
    l_c3nit(text.c_str(), p.dims.data(), &p.factor);
    p.code = zavo_error_code(1);
    return p;
}

class unit_expression : public reporting_test {
protected:
    void expect(const std::string& text, const Dims& dims, float factor)
    {
        const Parsed p = parse(text);
        EXPECT_EQ(p.code, 0) << text;
        EXPECT_EQ(p.dims, dims) << text;
        EXPECT_EQ(p.factor, factor) << text;
    }
    // Refused, with this name in the message.
    void refuse(const std::string& text, const std::string& name)
    {
        EXPECT_EQ(parse(text).code, 12114) << text;
        EXPECT_EQ(reported(), "5/12114 l_c3nit") << text;
        EXPECT_EQ(expanded("%(S1)"), name) << text;
    }
};

constexpr Dims none{};

TEST_F(unit_expression, products_and_quotients_of_units)
{
    expect("m", {1, 0, 0, 0, 0}, 1.0F);
    expect("", none, 1.0F);
    expect("1", none, 1.0F);
    expect("kg", {0, 1, 0, 0, 0}, 1000.0F * 0.001F);
    expect("N/m^2", {-1, 1, -2, 0, 0}, 1.0F);
    expect("J/mole/K", {2, 1, -2, 0, -1}, 1.0F);
    expect("W/K^4/m^2", {0, 1, -3, 0, -4}, 1.0F);
    expect("N*m^2/kg^2", {3, -1, -2, 0, 0}, 1.0F);
    expect("foot/s^2", {1, 0, -2, 0, 0}, 0.3048F);
    expect("J*s", {2, 1, -1, 0, 0}, 1.0F);
    expect("Mile/HOUR", {1, 0, -1, 0, 0}, 1609.344F * (1.0F / 3600.0F));
}

TEST_F(unit_expression, exponents_in_a_chain_multiply)
{
    expect("m^-2", {-2, 0, 0, 0, 0}, 1.0F);
    expect("m^+2", {2, 0, 0, 0, 0}, 1.0F);
    expect("m^ 2x", {2, 0, 0, 0, 0}, 1.0F);
    expect("m^\t\r\v-2", {-2, 0, 0, 0, 0}, 1.0F); // all that isspace() knows
    expect("m^\x0e"
           "2",
           none, 1.0F); // and no other control
    expect("m^\x01"
           "2",
           none, 1.0F);
    expect("m^ ", none, 1.0F);
    expect("m^-", none, 1.0F);
    expect("m^2^3", {6, 0, 0, 0, 0}, 1.0F);
    expect("s/m^2^-1", {2, 0, 1, 0, 0}, 1.0F);
    expect("foot^0", none, 1.0F);
    expect("foot^x", none, 1.0F); // no number: power 0
    expect("foot^2", {2, 0, 0, 0, 0}, 0.3048F * 0.3048F);
    expect("foot^3", {3, 0, 0, 0, 0}, l_fpowi(0.3048F, 3));
    expect("m/foot^2", {-1, 0, 0, 0, 0}, l_fpowi(0.3048F, -2));
}

// Powers and dimensions stop at the ends of an int.
TEST_F(unit_expression, huge_exponents)
{
    expect("m^2147483647", {INT_MAX, 0, 0, 0, 0}, 1.0F);
    expect("m^99999999999999999999", {INT_MAX, 0, 0, 0, 0}, 1.0F);
    expect("m^-99999999999999999999", {-INT_MAX, 0, 0, 0, 0}, 1.0F);
    expect("m^-2147483648", {-INT_MAX, 0, 0, 0, 0}, 1.0F);
    expect("m^65536^65536^65536", {INT_MAX, 0, 0, 0, 0}, 1.0F);
    expect("m/m^65536^65536", {1 - INT_MAX, 0, 0, 0, 0}, 1.0F);
    expect("farad^2147483647", {-INT_MAX, -INT_MAX, INT_MAX, INT_MAX, 0}, 1.0F);
    expect("kilom^2147483647", {INT_MAX, 0, 0, 0, 0}, HUGE_VALF);
    expect("millim^2147483647", {INT_MAX, 0, 0, 0, 0}, 0.0F);
}

TEST_F(unit_expression, letter_prefixes)
{
    const struct {
        char letter;
        int power;
    } prefixes[] = {{'A', -18}, {'F', -15}, {'P', -12}, {'N', -9}, {'U', -6}, {'M', -3},
                    {'C', -2},  {'K', 3},   {' ', 6},   {'G', 9},  {'T', 12}, {'D', -1}};
    for (const auto& p : prefixes) {
        expect(std::string{p.letter} + "m", {1, 0, 0, 0, 0}, l_fpowi(10.0F, p.power));
    }
    // Near the power of ten; negative powers carry the error of 0.1F.
    EXPECT_NEAR(parse("am").factor, 1e-18, 1e-24);
    EXPECT_EQ(parse("tm").factor, 1e12F);
    EXPECT_NE(parse("cm").factor, parse("centim").factor);
    expect("ms", {0, 0, 1, 0, 0}, l_fpowi(10.0F, -3));
    refuse("xm", "XM");
    refuse("bm", "BM");
}

TEST_F(unit_expression, blank_is_mega)
{
    expect(" m", {1, 0, 0, 0, 0}, 1e6F);
    refuse(" me", " ME"); // blanks are not dropped
    refuse("m ", " ");    // milli and a blank
}

TEST_F(unit_expression, deka_and_long_prefixes)
{
    expect("dkm", {1, 0, 0, 0, 0}, 10.0F);
    refuse("dkx", "X");
    refuse("dkkm", "DKKM");
    const struct {
        const char* text;
        float factor;
    } prefixes[] = {{"atto", 1e-18F},  {"femto", 1e-15F}, {"pico", 1e-12F}, {"nano", 1e-9F}, {"micro", 1e-6F},
                    {"milli", 0.001F}, {"centi", 0.01F},  {"deci", 0.1F},   {"deca", 10.0F}, {"kilo", 1e3F},
                    {"myria", 1e4F},   {"mega", 1e6F},    {"giga", 1e9F},   {"tera", 1e12F}};
    for (const auto& p : prefixes) {
        expect(std::string{p.text} + "meter", {1, 0, 0, 0, 0}, p.factor);
        expect(std::string{p.text} + "foot", {1, 0, 0, 0, 0}, p.factor * 0.3048F);
    }
    refuse("kilokilometer", "KILOMETER"); // one prefix only
    refuse("kilo", "");
}

TEST_F(unit_expression, prefixes_come_first)
{
    refuse("au", "U");
    expect("ft", {0, 1, -2, -1, 0}, l_fpowi(10.0F, -15)); // femto-tesla
    expect("micron", {1, 1, -2, 0, 0}, 1e-6F);            // micro-newton
    expect("kilom/kilos", {1, 0, -1, 0, 0}, 1e3F * (1.0F / 1e3F));
    expect("cm", {1, 0, 0, 0, 0}, l_fpowi(10.0F, -2));
    expect("pa", {0, 0, 0, 1, 0}, l_fpowi(10.0F, -12)); // pico-ampere
}

TEST_F(unit_expression, doubled_separators_shift)
{
    expect("m//s", {1, 0, -1, 0, 0}, 1.0F);
    expect("m//s*kg", {1, 1, -1, 0, 0}, 1.0F);
    expect("m//s/kg", {1, 1, -1, 0, 0}, 1.0F); // "s" is read as the separator
    expect("/m", {1, 0, 0, 0, 0}, 1.0F);       // the first token is never inverted
    expect("*m/s", {1, 0, 1, 0, 0}, 1.0F);     // "m" is read as the separator
    expect("m/", {1, 0, 0, 0, 0}, 1.0F);
    expect("//*^", none, 1.0F);
    refuse("^2", "2");
    expect("m*/s", {1, 0, 1, 0, 0}, 1.0F);
}

TEST_F(unit_expression, unknown_units)
{
    refuse("furlong", "FURLONG");
    refuse("m/furlong^2", "FURLONG");
    refuse("kiloknot", "KNOT");
    refuse("m s", "M S");
    refuse("x{", "X{");                   // behind z
    refuse("\xE5ngstrom", "\xE5NGSTROM"); // capitals are those of a to z
    const Parsed p = parse("foot*furlong*m");
    EXPECT_EQ(p.dims, (Dims{1, 0, 0, 0, 0})); // what stood before it
    EXPECT_EQ(p.factor, 0.3048F);
}

TEST_F(unit_expression, ten_factors_at_most)
{
    expect("m*m*m*m*m*m*m*m*m*m", {10, 0, 0, 0, 0}, 1.0F);
    expect("m*m*m*m*m*m*m*m*m*m^2^2", {13, 0, 0, 0, 0}, 1.0F);
    refuse("m*m*m*m*m*m*m*m*m*m*s", "m*m*m*m*m*m*m*m*m*m*s");
    refuse("nix*m*m*m*m*m*m*m*m*m*s", "nix*m*m*m*m*m*m*m*m*m*s");
}

TEST_F(unit_expression, length_is_bounded)
{
    const auto ones = [](std::size_t length) { return "m^1" + std::string(length - 3, '0'); };
    EXPECT_EQ(parse(ones(255)).code, 0);
    refuse(ones(256), ones(256));
    refuse(std::string(256, '*'), std::string(256, '*'));
    refuse(std::string(1 << 20, 'm'), std::string(1 << 20, 'm'));
    refuse(std::string(255, 'm'), std::string(255, 'M'));
}

// ---- a second parser ---------------------------------------------------

// As the grammar is told, with strtok() and a cursor in the caller's text.
Parsed parse_by_strtok(const std::string& text)
{
    struct Record {
        std::string token;
        int power = 1;
        float scale = 1.0F;
    };
    static const char* const prefixes[] = {"ATTO", "FEMTO", "PICO", "NANO",  "MICRO", "MILLI", "CENTI",
                                           "DECI", "DECA",  "KILO", "MYRIA", "MEGA",  "GIGA",  "TERA"};
    static const float prefix_factors[] = {1e-18F, 1e-15F, 1e-12F, 1e-9F, 1e-6F, 0.001F, 0.01F,
                                           0.1F,   10.0F,  1e3F,   1e4F,  1e6F,  1e9F,   1e12F};
    std::string copy = text;
    for (char& c : copy) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    std::vector<Record> records;
    char separator = '*';
    std::size_t cursor = 0;
    for (char* token = std::strtok(copy.data(), "*/^"); token; token = std::strtok(nullptr, "*/^")) {
        if (separator == '^') {
            records.back().power *= std::atoi(token);
        } else {
            records.push_back({token, separator == '/' ? -1 : 1});
        }
        cursor += std::strlen(token);
        separator = text.c_str()[cursor++];
    }
    Parsed result{{}, 1.0F, records.size() > 10 ? 12114 : 0};
    for (std::size_t i = 0; i < records.size() && result.code == 0; ++i) {
        Record& r = records[i];
        const std::string letters = "AFPNUMCK GTD";
        if (r.token.size() == 2 && letters.find(r.token[0]) != std::string::npos) {
            const int p = 3 * static_cast<int>(letters.find(r.token[0])) - 18;
            r.scale *= l_fpowi(10.0F, p == 0 ? -2 : p == 15 ? -1 : p);
            r.token.erase(0, 1);
        } else if (r.token.size() == 3 && r.token.compare(0, 2, "DK") == 0) {
            r.scale *= 10.0F;
            r.token.erase(0, 2);
        } else if (r.token.size() != 2) {
            for (std::size_t k = 0; k < 14; ++k) {
                if (r.token.compare(0, std::strlen(prefixes[k]), prefixes[k]) == 0) {
                    r.scale *= prefix_factors[k];
                    r.token.erase(0, std::strlen(prefixes[k]));
                    break;
                }
            }
        }
        const auto* const row = zavo::constants::find_unit(r.token);
        if (row == nullptr) {
            result.code = 12114;
            break;
        }
        r.scale *= row->factor;
        for (std::size_t k = 0; k < 5; ++k) {
            result.dims[k] += r.power * row->dims[k];
        }
        const float power = r.power == 1 || r.scale == 1.0F ? r.scale : l_fpowi(r.scale, r.power);
        result.factor *= power;
    }
    return result;
}

TEST_F(unit_expression, agrees_with_strtok)
{
    const char* const pieces[] = {"m",      "s",  "kg",    "foot", "N",    "J",    "*",    "/",
                                  "^",      "^2", "^-1",   "^ 3",  "*",    "/",    "kilo", "cm",
                                  "mole",   "1",  "micro", "dkm",  "mega", "volt", "hour", " W",
                                  "micron", "au", "x",     "/K",   "*atm", "^0"};
    std::mt19937 random{20};
    int accepted = 0;
    for (int round = 0; round < 200000; ++round) {
        std::string text;
        for (unsigned n = random() % 12; n > 0; --n) {
            text += pieces[random() % std::size(pieces)];
        }
        errors.clear();
        const Parsed a = parse(text);
        const Parsed b = parse_by_strtok(text);
        ASSERT_EQ(a.code, b.code) << text;
        ASSERT_EQ(std::memcmp(&a.factor, &b.factor, sizeof a.factor) == 0 || b.code != 0, true) << text;
        if (b.code == 0) {
            ASSERT_EQ(a.dims, b.dims) << text;
            ++accepted;
        }
    }
    EXPECT_GT(accepted, 20000);
}

} // namespace
