// Files that are read and written in many pieces.
#include <CZPVirtualDirectory.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Operations.h"
#include "support/Sites.h"

using namespace zp::test;

namespace {

constexpr size_t Enough = 1'000'000;  // several buffers, whatever their size

// Lines of every length up to `longest`, so that they end at every place of a buffer. Some are empty, some
// begin like a keyword, some hold what is no line end.
std::string manyLines(size_t longest) {
    const std::string_view beginnings[] = {"", "Server", "\t<Virtual", std::string_view("\0\r\v", 3), "# "};
    std::string text;
    for (size_t i = 0; text.size() < Enough; ++i) {
        std::string line(beginnings[i % std::size(beginnings)]);
        line.resize(i * 7919 % (longest + 1), static_cast<char>('a' + i % 26));
        text += line + "\n";
    }
    return text;
}

const FileOperation addDirective =
    primitive(&ApacheHelper::Apache_AddDirectiveInVH, "last.example", "A", "b", false);

}  // namespace

TEST(LargeFile, is_copied_byte_for_byte_around_a_change) {
    check({"changed", manyLines(1023) + blockOf({.domain = "last.example"}) + manyLines(70), addDirective,
           R"(0, .zpbackup.ACEP
1971+	A b)"});
}

TEST(LargeFile, ends_at_a_line_over_the_bound_wherever_it_stands) {
    for (const size_t offset : {size_t{0}, size_t{262'000}, Enough}) {
        const std::string name = "cut_behind_" + std::to_string(offset);
        check({name.c_str(),
               manyLines(1023).substr(0, offset) + "\n" + std::string(1024, 'x') + "\n" +
                   blockOf({.domain = "last.example"}),
               addDirective, "1, .zpbackup.ACEP"});
    }
}

TEST(LargeFile, has_its_longest_line_read_whole_where_there_is_no_bound) {
    const std::string file = scratch("long.conf");
    const std::string alias = "\tAlias /a \"/srv/a\"\n";
    writeFile(file, manyLines(200) + std::string(Enough, 'x') + "\n" +
                        blockOf({.domain = "last.example", .extra = alias + alias}));
    EXPECT_EQ(CZPVirtualDirectory(nullptr, file.c_str()).DirectoryRequired("last.example", "/srv/a"), 1);
}
