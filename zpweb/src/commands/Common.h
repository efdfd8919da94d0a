// What commands share: finding a site, the scope of a change, the meaning of a result.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "CZPWebsite.h"
#include "cli/Command.h"
#include "sys/Process.h"

namespace zpweb {

// The most characters of a line that operations of the library read. Where an operation calls others,
// theirs count too.
namespace bound {
inline constexpr size_t Creation = 1022;
inline constexpr size_t Deletion = 1022;
inline constexpr size_t StartStop = 29999;
inline constexpr size_t Merge = 1023;  // update, suspension
inline constexpr size_t Addressing = 1023;
inline constexpr size_t Directive = 2024;  // get, update and delete; <Directory> blocks
inline constexpr size_t AddDirective = 1023;
inline constexpr size_t Handler = 2046;  // Perl, open_basedir
inline constexpr size_t SuPhp = 2024;
inline constexpr size_t SuPhpGlobal = 1023;
inline constexpr size_t Limits = 2999;
inline constexpr size_t Port = 2999;
inline constexpr size_t ModuleBlock = 2047;
inline constexpr size_t Module = 1023;
inline constexpr size_t Parameter = 2999;
inline constexpr size_t Any = static_cast<size_t>(-1);
}  // namespace bound

// The blocks of a site; NotFound when there is none.
Expected<std::vector<Place>> findSite(const Configuration& configuration, const std::string& name);
// The first of them that is running; an error when the site is stopped.
Expected<Place> findRunning(const Configuration& configuration, const std::string& name);
// The files that hold blocks of the site, each once.
std::vector<const ConfigurationFile*> filesOf(const std::vector<Place>& places);

// A file of the configuration as the library's readers get it: as it is in this change so far, with plain
// line ends and without the comments of live blocks, some of which they would take for live lines. It lives
// in memory.
class Readable {
public:
    explicit Readable(const ConfigurationFile& file);
    const std::string& path() const { return path_; }

private:
    Descriptor copy_;
    std::string path_;
};

void hideComments(Scope& scope, const ConfigurationFile& file);

using LineTest = std::function<bool(std::string_view text)>;  // without leading white space

// A site's blocks, of whose lines those may be changed, and added, that pass the test. Without a test all
// may.
Scope siteScope(const ConfigurationFile& file, const std::string& name, const LineTest& test = {});
// The sections that `opens` (a <Directory> or <IfModule> line) within a site's blocks, whole.
Scope sectionScope(const ConfigurationFile& file, const std::string& name, const LineTest& opens);
// Adds to what may be changed the lines, anywhere in the file, that pass the test.
void allowLines(Scope& scope, const ConfigurationFile& file, const LineTest& test);

// Tests of a line.
LineTest beginsWithAny(std::vector<std::string> keywords);
LineTest opensFolder(const std::string& path);

// Done for the good results, otherwise an error that names the operation and tells what is known.
Outcome resultOf(const std::string& operation, int result, std::initializer_list<int> good);

// Runs something of the library that prints; what it prints goes to the details.
template <class Call>
auto quietly(Output& output, Call&& call) {
    Capture capture;
    auto result = call();
    output.detail(capture.end());
    return result;
}

// A password: the call's own, the first line of --password-file, or of standard input.
Expected<std::string> readSecret(const Arguments& arguments, Output& output);
Parameter passwordFileOption();

template <size_t Size>
void fillField(char (&field)[Size], const std::string& value) {
    field[value.copy(field, Size - 1)] = '\0';
}

// Splits NAME=VALUE.
NameValueVector assignments(const std::vector<std::string>& values);

}  // namespace zpweb
