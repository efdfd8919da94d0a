// Files and directories, whole.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

// What the system says about the last failed call, after "PATH: ".
std::string systemError(const std::string& path);

std::string directoryOf(const std::string& path);  // "." for a bare name, "/" for a top directory's entry
std::string nameOf(const std::string& path);
// The absolute path without links; absent (NotFound) when it does not exist.
Expected<std::string> realPathOf(const std::string& path);

bool exists(const std::string& path);       // a dangling link exists
bool isDirectory(const std::string& path);  // a link to one counts
bool isFile(const std::string& path);
// Where a symbolic link points to; absent for what is none.
std::optional<std::string> linkTarget(const std::string& path);
std::vector<std::string> entriesOf(const std::string& directory);  // sorted, without "." and ".."
// The same, where one that cannot be read must not be taken for an empty one.
Expected<std::vector<std::string>> listed(const std::string& directory);

// Opens a file to read. Where a site's owner can place a link it may lead to a device, and to open one is
// to use it: what is no regular file is not opened.
Expected<Descriptor> openRegular(const std::string& path);
// A longer text than `limit` is an error. With a limit what is no regular file is not opened.
Expected<std::string> readFile(const std::string& path, size_t limit = std::string::npos);
// All of what is open; `path` is for messages. A longer text than `limit` is an error.
Expected<std::string> readDescriptor(const Descriptor& file, const std::string& path, size_t limit);
// Reads a file in parts that are as long as they can be: 128 KiB, but for the last. False where no file can
// be read to its end: something else stands there, or on the way, also a file system that lets nobody in,
// or a file of others than root's is larger than 256 MiB. Its owner may have put it there to be waited for.
Expected<bool> readParts(const std::string& path, const std::function<void(std::string_view)>& take);
// Makes a new file with exactly this mode; what stands at `path` is an error. The result is open to write.
Expected<Descriptor> makeNewFile(const std::string& path, std::span<const std::string_view> pieces,
                                 mode_t mode);
Outcome writeNewFile(const std::string& path, std::span<const std::string_view> pieces, mode_t mode);
inline Outcome writeNewFile(const std::string& path, std::string_view text, mode_t mode) {
    return writeNewFile(path, {&text, 1}, mode);
}
// A new file in the place of an old one: written beside it, synced and renamed.
Outcome replaceFile(const std::string& path, std::string_view text, mode_t mode);
// A line that a write was cut off in gets its end first.
Outcome appendLine(const std::string& path, std::string_view line, mode_t mode);
Outcome sync(const std::string& path);                          // a file or a directory
Outcome sync(const Descriptor& file, const std::string& path);  // of what is open

Outcome createDirectory(const std::string& path,
                        mode_t mode);  // exactly this mode; one that exists is no error
// Removes a file or a directory with all that it holds, links as links. Nothing there is no error.
void removeTree(const std::string& path);

}  // namespace zpweb
