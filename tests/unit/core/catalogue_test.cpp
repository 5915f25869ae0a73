#include "core/catalogue/catalogue.hpp"
#include "core/catalogue/catalogue_file.hpp"
#include "core/errors/error_stack.h"
#include "core/system/memory.hpp"
#include "tests/support/captured_errors.hpp"
#include "tests/support/catalogue_builder.hpp"

#include <gtest/gtest.h>

namespace {

using namespace zavo::core;
using zavo::test::CatalogueBuilder;
using zavo::test::CatalogueEntry;
using zavo::test::ScratchFolder;

const std::vector<CatalogueEntry> few = {
    {7, "Seven.", "SEVEN"}, {8, "", "EMPTY"}, {602, "Argument %(S1).", "OUTSIDE"}, {60000, "Last.", "LAST"}};

// The catalogue reads from a folder of the test's own.
class catalogue : public testing::Test {
protected:
    void SetUp() override
    {
        reset_catalogue();
        ASSERT_TRUE(set_catalogue_path(folder.path().c_str()));
    }
    void TearDown() override
    {
        zavo_fail_allocation(0);
        reset_catalogue();
    }
    // What reading `code` writes to standard error.
    static std::string complaint_about(int code)
    {
        testing::internal::CaptureStderr();
        catalogue_message(code);
        return testing::internal::GetCapturedStderr();
    }
    ScratchFolder folder;
};

void expect_few()
{
    EXPECT_STREQ(catalogue_message(7), "Seven.");
    EXPECT_STREQ(catalogue_message(8), "");
    EXPECT_STREQ(catalogue_message(602), "Argument %(S1).");
    EXPECT_STREQ(catalogue_message(60000), "Last.");
    EXPECT_STREQ(code_text(7), "SEVEN");
    EXPECT_STREQ(code_text(8), "EMPTY");
    EXPECT_STREQ(code_text(60000), "LAST");
    EXPECT_STREQ(catalogue_message(7), "Seven.");
}

TEST_F(catalogue, texts_and_names_in_either_byte_order_and_with_any_block_shift)
{
    for (const bool swapped : {false, true}) {
        for (unsigned shift = 0; shift <= 9; ++shift) {
            SCOPED_TRACE(testing::Message() << "swapped " << swapped << ", shift " << shift);
            folder.write("zavoerr.bin", CatalogueBuilder{few, swapped, shift}.build().bytes());
            reset_catalogue();
            set_catalogue_path(folder.path().c_str());
            expect_few();
        }
    }
}

TEST_F(catalogue, data_base_is_one_byte_before_the_end_of_the_tables)
{
    // By hand: magic, N = 1, lengths 2 + 2, shift 0; number 5; offsets 1 and 5.
    const std::uint16_t words[] = {29432, 0, 1, 0, 2, 2, 0, 5, 1, 5};
    folder.write("zavoerr.bin", std::string(reinterpret_cast<const char*>(words), sizeof words) +
                                    std::string("A\0N\0\0", 5));
    EXPECT_STREQ(catalogue_message(5), "A");
    EXPECT_STREQ(code_text(5), "N");
}

TEST_F(catalogue, a_code_that_is_absent_has_its_number_as_text)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    EXPECT_STREQ(catalogue_message(9), "Error code 9.");
    EXPECT_STREQ(code_text(9), "9");
    EXPECT_STREQ(code_text(-7), "-7");
    EXPECT_STREQ(catalogue_message(-7), "Error code -7.");
    EXPECT_STREQ(catalogue_message(300007), "Error code 300007.");
    EXPECT_STREQ(catalogue_message(2147483647), "Error code 2147483647.");
    EXPECT_STREQ(code_text(-2147483647 - 1), "-2147483648");
    expect_few();
    EXPECT_STREQ(code_text(9), "9"); // with another record read before
}

TEST_F(catalogue, the_first_digits_of_a_code_select_the_file)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    folder.write("kverr.bin", CatalogueBuilder{{{7, std::string(5000, 'k'), "K"}}}.build().bytes());
    folder.write("XXXXXX.bin", CatalogueBuilder{{{7, "third", "X"}}}.build().bytes());
    EXPECT_STREQ(catalogue_message(7), "Seven.");
    EXPECT_EQ(catalogue_message(100007), std::string(5000, 'k'));
    EXPECT_STREQ(code_text(100007), "K");
    EXPECT_STREQ(catalogue_message(200007), "third");
    EXPECT_STREQ(catalogue_message(100008), "Error code 100008.");
    expect_few();
}

TEST_F(catalogue, messages_of_misused_queries_and_pops_have_all_their_parts)
{
    folder.write("zavoerr.bin", CatalogueBuilder{{{122, "%(S1) is %(I3), not %(I1) to %(I2).", "LEVEL"},
                                                  {60001, "%(S1) left, %(S2) was entered.", "MISMATCH"}}}
                                    .build()
                                    .bytes());
    EXPECT_EXIT(zavo_error_type(7), testing::ExitedWithCode(8), "level is 7, not 0 to 1");
    EXPECT_EXIT(
        {
            zavo_error_push("one");
            zavo_error_pop("other");
        },
        testing::ExitedWithCode(8), "other left, one was entered");
}

TEST_F(catalogue, a_missing_file_is_told_once)
{
    EXPECT_EQ(complaint_about(7), "Error in reading zavoerr.bin\nFile not found.\n");
    EXPECT_STREQ(catalogue_message(7), "Error code 7.");
    EXPECT_STREQ(code_text(7), "7");
    EXPECT_EQ(complaint_about(8), "");
    // It is not looked for again either.
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    EXPECT_STREQ(catalogue_message(7), "Error code 7.");
    EXPECT_EQ(complaint_about(100007), "Error in reading kverr.bin\nFile not found.\n");
}

TEST_F(catalogue, a_folder_is_not_taken_for_a_file)
{
    std::filesystem::create_directory(std::filesystem::path(folder.path()) / "zavoerr.bin");
    EXPECT_EQ(complaint_about(7), "Error in reading zavoerr.bin\nFile not found.\n");
}

TEST_F(catalogue, the_first_folder_of_the_path_that_has_the_file_is_taken)
{
    ScratchFolder second;
    second.write("zavoerr.bin", CatalogueBuilder{{{7, "second", "S"}}}.build().bytes());
    set_catalogue_path((folder.path() + ";" + second.path()).c_str());
    EXPECT_STREQ(catalogue_message(7), "second");
    folder.write("zavoerr.bin", CatalogueBuilder{{{7, "first", "F"}}}.build().bytes());
    reset_catalogue();
    set_catalogue_path((folder.path() + ";" + second.path()).c_str());
    EXPECT_STREQ(catalogue_message(7), "first");
}

TEST_F(catalogue, files_of_another_format_are_refused)
{
    const std::string good = CatalogueBuilder{few}.build().bytes();
    std::string magic = good;
    magic[0] = 'x';
    // Cut anywhere within header and tables; 32 bytes of tables end at 32.
    std::vector<std::string> bad = {magic, "", std::string(1000, '\0')};
    for (std::size_t length = 1; length < 4 * few.size() + 16; ++length) {
        bad.push_back(good.substr(0, length));
    }
    for (const std::string& bytes : bad) {
        SCOPED_TRACE(bytes.size());
        folder.write("zavoerr.bin", bytes);
        reset_catalogue();
        set_catalogue_path(folder.path().c_str());
        EXPECT_EQ(complaint_about(7), "Error in reading zavoerr.bin\nFile is not in zavoerr.bin format.\n");
        EXPECT_STREQ(code_text(7), "7");
    }
}

// Reading record 602 fails and takes the file out of use.
void expect_failed_record()
{
    EXPECT_STREQ(catalogue_message(602), "Error in reading zavoerr.bin for error message 602.\n"
                                         "Cannot seek to correct location.\n");
    EXPECT_STREQ(catalogue_message(602), "Error code 602.");
    EXPECT_STREQ(code_text(602), "602");
    EXPECT_STREQ(catalogue_message(60000), "Error code 60000.");
}

TEST_F(catalogue, a_record_that_cannot_be_read_answers_with_the_failure_text)
{
    const CatalogueBuilder good = CatalogueBuilder{few}.build();
    const std::size_t record = good.offsets[2] - 1U; // in `records`
    std::vector<CatalogueBuilder> bad(9, good);
    bad[0].offsets[2] = 60000;                                           // beyond the end
    bad[1].offsets[2] = 65535;                                           // as far as an offset goes
    bad[2].offsets[3] = static_cast<std::uint16_t>(good.offsets[2] - 1); // no length
    bad[3].offsets[3] = 0;                                               // out of order
    bad[4].header[4] = 3;                                                // buffer promised too small
    bad[5].records.resize(record + 5);                                   // cut within the record
    bad[6].records.replace(record, 24, std::string(24, 'x'));            // no terminating zero
    bad[7].header[6] = 65535;                                            // blocks of 2^65535 bytes
    bad[8].header[6] = 14;                                               // blocks longer than the file
    for (std::size_t i = 0; i < bad.size(); ++i) {
        SCOPED_TRACE(i);
        folder.write("zavoerr.bin", bad[i].bytes());
        reset_catalogue();
        set_catalogue_path(folder.path().c_str());
        expect_failed_record();
    }
}

TEST_F(catalogue, a_record_without_a_terminated_name_counts_as_a_failed_read)
{
    CatalogueBuilder builder = CatalogueBuilder{{{602, "text", ""}}}.build();
    // The text's zero stays, all bytes behind it are others.
    builder.records = std::string("text\0", 5) + std::string(40, 'x');
    folder.write("zavoerr.bin", builder.bytes());
    expect_failed_record();
}

TEST_F(catalogue, numbers_out_of_order_are_at_worst_not_found)
{
    CatalogueBuilder builder = CatalogueBuilder{few}.build();
    builder.numbers = {60000, 602, 8, 7};
    folder.write("zavoerr.bin", builder.bytes());
    for (int code = 0; code < 70000; code += 1) {
        ASSERT_NE(catalogue_message(code), nullptr);
    }
}

TEST_F(catalogue, an_empty_catalogue_knows_no_code)
{
    CatalogueBuilder builder;
    builder.header = {29432, 0, 0, 0, 0, 0, 0};
    builder.offsets = {0};
    folder.write("zavoerr.bin", builder.bytes());
    EXPECT_EQ(complaint_about(7), "");
    EXPECT_STREQ(catalogue_message(7), "Error code 7.");
}

TEST_F(catalogue, the_record_read_last_needs_no_file)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    EXPECT_STREQ(catalogue_message(7), "Seven.");
    folder.write("zavoerr.bin", "");
    EXPECT_STREQ(catalogue_message(7), "Seven.");
    EXPECT_STREQ(code_text(7), "SEVEN");
}

// Other writers put nothing behind the last record, and announce the longest text
// and the longest name.
TEST_F(catalogue, a_last_record_may_end_the_file_and_the_lengths_may_be_just_those_of_the_texts)
{
    for (unsigned shift = 0; shift <= 6; ++shift) {
        SCOPED_TRACE(shift);
        CatalogueBuilder tight = CatalogueBuilder{few, false, shift}.build();
        tight.records.resize(tight.records.size() - (std::size_t{1} << shift));
        tight.header[4] = 15; // "Argument %(S1)."
        tight.header[5] = 7;  // "OUTSIDE"
        folder.write("zavoerr.bin", tight.bytes());
        reset_catalogue();
        set_catalogue_path(folder.path().c_str());
        expect_few();
    }
}

TEST_F(catalogue, a_record_without_its_closing_zeros_is_refused_at_the_end_of_the_file_too)
{
    CatalogueBuilder cut = CatalogueBuilder{few}.build();
    cut.records.resize(cut.records.size() - 2); // the block behind it, and the last zero
    folder.write("zavoerr.bin", cut.bytes());
    reset_catalogue();
    set_catalogue_path(folder.path().c_str());
    EXPECT_STREQ(catalogue_message(60000), "Error in reading zavoerr.bin for error message 60000.\n"
                                           "Cannot seek to correct location.\n");
}

#if !defined(_WIN32)
TEST_F(catalogue, a_variable_may_name_a_folder_that_is_long_or_has_a_semicolon)
{
    for (const std::string& name :
         {std::string(200, 'a') + "/" + std::string(200, 'b'), std::string("a;b")}) {
        SCOPED_TRACE(name);
        const std::string path = folder.path() + "/" + name;
        std::filesystem::create_directories(path);
        folder.write(name + "/zavoerr.bin", CatalogueBuilder{few}.build().bytes());
        setenv("ZAVO_TEST_FOLDER", path.c_str(), 1);
        reset_catalogue();
        set_catalogue_path("nowhere;$ZAVO_TEST_FOLDER");
        EXPECT_STREQ(catalogue_message(7), "Seven.");
        unsetenv("ZAVO_TEST_FOLDER");
    }
}
#endif

#if !defined(_WIN32)
TEST_F(catalogue, empty_elements_and_a_dollar_alone_name_no_folder)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    set_catalogue_path((";$;;" + folder.path()).c_str());
    EXPECT_STREQ(catalogue_message(7), "Seven.");
}

// The first such value may be the name of one folder, all may be several folders.
TEST_F(catalogue, several_variables_may_have_semicolons)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    setenv("ZAVO_TEST_FIRST", "nowhere;/neither", 1);
    setenv("ZAVO_TEST_SECOND", ("nor;" + folder.path()).c_str(), 1);
    set_catalogue_path("$ZAVO_TEST_FIRST;$ZAVO_TEST_SECOND");
    EXPECT_STREQ(catalogue_message(7), "Seven.");
    reset_catalogue();
    set_catalogue_path("$ZAVO_TEST_FIRST");
    EXPECT_EQ(complaint_about(7), "Error in reading zavoerr.bin\nFile not found.\n");
    unsetenv("ZAVO_TEST_FIRST");
    unsetenv("ZAVO_TEST_SECOND");
}

// The expanded path, and the value that may be one folder, are allocated apart.
TEST_F(catalogue, shortage_of_memory_for_a_variable_is_told)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    setenv("ZAVO_TEST_FOLDER", (folder.path() + ";nowhere").c_str(), 1);
    long nth = 1;
    while (true) {
        reset_catalogue();
        set_catalogue_path("$ZAVO_TEST_FOLDER");
        zavo_fail_allocation(nth);
        testing::internal::CaptureStderr();
        const std::string text = catalogue_message(7);
        const std::string complaint = testing::internal::GetCapturedStderr();
        const bool failed = zavo_allocation_count() >= nth;
        zavo_fail_allocation(0);
        if (!failed) {
            EXPECT_EQ(text, "Seven.");
            break;
        }
        if (nth <= 5) { // before the file is opened, and its tables
            EXPECT_EQ(complaint, "Error in reading zavoerr.bin\nOut-of-space.\n") << nth;
            EXPECT_EQ(text, "Error code 7.") << nth;
        }
        ++nth;
    }
    EXPECT_GT(nth, 6);
    unsetenv("ZAVO_TEST_FOLDER");
}

TEST_F(catalogue, a_file_that_is_cut_while_it_is_open_answers_with_the_failure_text)
{
    std::vector<CatalogueEntry> long_ones = few;
    for (CatalogueEntry& entry : long_ones) {
        entry.text.append(20000, 'x'); // beyond what the C library reads ahead
    }
    folder.write("zavoerr.bin", CatalogueBuilder{long_ones}.build().bytes());
    EXPECT_EQ(catalogue_message(7), "Seven." + std::string(20000, 'x'));
    std::filesystem::resize_file(std::filesystem::path(folder.path()) / "zavoerr.bin", 21000);
    EXPECT_STREQ(catalogue_message(60000), "Error in reading zavoerr.bin for error message 60000.\n"
                                           "Cannot seek to correct location.\n");
}
#endif

TEST_F(catalogue, a_file_is_opened_by_its_own_name_only)
{
    CatalogueFile file;
    EXPECT_STREQ(file.open((folder.path() + "/none.bin").c_str()), "File not found");
    EXPECT_STREQ(file.open(folder.path().c_str()), "File not found");
    EXPECT_EQ(file.file, nullptr);
}

TEST_F(catalogue, an_empty_text_takes_a_setting_back)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    EXPECT_TRUE(set_catalogue_path("")); // the path is that of the environment again
    EXPECT_EQ(complaint_about(7), "Error in reading zavoerr.bin\nFile not found.\n");
    reset_catalogue();
    EXPECT_TRUE(set_catalogue_path(folder.path().c_str()));
    EXPECT_TRUE(set_catalogue_name(""));
    expect_few();
}

TEST_F(catalogue, shortage_of_memory_is_told_and_leaks_nothing)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    // The allocations: copy of the path, expanded path, tables, record buffer.
    std::vector<std::string> texts;
    std::vector<std::string> complaints;
    for (long nth = 1;; ++nth) {
        reset_catalogue();
        set_catalogue_path(folder.path().c_str());
        zavo_fail_allocation(nth);
        testing::internal::CaptureStderr();
        texts.emplace_back(catalogue_message(7));
        complaints.push_back(testing::internal::GetCapturedStderr());
        const bool failed = zavo_allocation_count() >= nth;
        zavo_fail_allocation(0);
        if (!failed) {
            break;
        }
    }
    ASSERT_EQ(texts.size(), 5U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(complaints[i], "Error in reading zavoerr.bin\nOut-of-space.\n");
        EXPECT_EQ(texts[i], "Error code 7.");
    }
    EXPECT_EQ(complaints[3], "");
    EXPECT_EQ(texts[3], "Error in reading zavoerr.bin for error message 7.\nOut-of-memory.\n");
    EXPECT_EQ(texts[4], "Seven.");
}

TEST_F(catalogue, settings_are_copied_and_a_shortage_keeps_the_former)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    zavo_fail_allocation(1);
    EXPECT_FALSE(set_catalogue_path("elsewhere"));
    zavo_fail_allocation(1);
    EXPECT_FALSE(set_catalogue_name("other.bin"));
    zavo_fail_allocation(0);
    std::string path = folder.path();
    EXPECT_TRUE(set_catalogue_path(path.c_str()));
    // The name is replaced by the one from the table of files.
    EXPECT_TRUE(set_catalogue_name("other.bin"));
    path.assign(path.size(), 'x');
    expect_few();
}

TEST_F(catalogue, posted_errors_take_their_text_and_parameters_from_it)
{
    folder.write("zavoerr.bin", CatalogueBuilder{few}.build().bytes());
    zavo::test::CapturedErrors errors;
    zavo_error_push("routine");
    zavo_error_set_string(1, "n");
    zavo_error_post(ZAVO_TERMINAL, 602);
    zavo_error_pop("routine");
    ASSERT_EQ(errors.codes(), "5/602");
    EXPECT_EQ(errors.last().message, "Argument n.");
}

} // namespace
