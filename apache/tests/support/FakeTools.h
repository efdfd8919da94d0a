// Programs of the host, replaced for one case.
#pragma once

#include <string>
#include <vector>

namespace zp::test {

// A directory put first in PATH. Its programs note how they were called before they do anything else.
class FakeTools {
public:
    FakeTools();
    ~FakeTools();
    FakeTools(const FakeTools&) = delete;
    FakeTools& operator=(const FakeTools&) = delete;

    // The real program runs, after the shell commands `before`.
    void watch(const std::string& program, const std::string& before = "") const;
    // Prints this text instead, exactly as given.
    void answer(const std::string& program, const std::string& text) const;
    // Runs these shell commands instead; none: does nothing.
    void replace(const std::string& program, const std::string& commands = "") const;

    // What was called so far, as "name word word"; a word that the shell would not take as it is stands in
    // square brackets, and the path of an open file reads "(open file)".
    std::vector<std::string> calls() const;

private:
    std::string folder_, realPath_;
};

// The command by which a new text that was written on another file system comes into the file's place: it
// was brought beside the file first.
std::string movedFromAnotherFileSystem(const std::string& file);

}  // namespace zp::test
