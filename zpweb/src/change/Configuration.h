// The server's configuration as it stands in its files: the main file and what it includes.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sys/Content.h"
#include "sys/Outcome.h"
#include "text/Lines.h"
#include "text/Sites.h"

namespace zpweb {

// One file. Its lines and blocks are views of its text, found when they are first asked for.
class ConfigurationFile {
public:
    // `defines` are what the files before it define; what it defines joins them.
    ConfigurationFile(std::string path, Content content, std::shared_ptr<Defines> defines)
        : path_(std::move(path)), content_(std::move(content)), defines_(std::move(defines)) {}
    ConfigurationFile(const ConfigurationFile&) = delete;
    ConfigurationFile& operator=(const ConfigurationFile&) = delete;

    const std::string& path() const { return path_; }
    const Content& content() const { return content_; }
    const Lines& lines() const;
    const std::vector<Block>& blocks() const { return contents().blocks; }
    const std::vector<Block>& templates() const { return contents().templates; }
    const ServerLines& server() const { return contents().server; }
    size_t longestLine() const { return contents().longestLine; }
    const Block* blockAt(size_t line) const;  // the block that holds the line; null outside of all

private:
    const Contents& contents() const;

    std::string path_;
    Content content_;
    std::shared_ptr<Defines> defines_;
    mutable std::optional<Lines> lines_;
    mutable std::optional<Contents> contents_;
};

// A block of a site, in its file.
struct Place {
    const ConfigurationFile* file;
    const Block* block;
    std::string text() const;  // FILE:LINE
};

class Configuration {
public:
    // `main` is a path without links.
    static Expected<Configuration> load(const std::string& main);

    const ConfigurationFile& main() const { return *files_.front(); }
    const std::deque<std::unique_ptr<ConfigurationFile>>& files() const { return files_; }
    const ConfigurationFile* file(const std::string& path) const;
    void replace(const std::string& path, Content content);

    // The blocks of a site, by its name in any letter case; an internationalised name by either form.
    std::vector<Place> find(std::string_view name) const;
    std::string serverRoot() const;
    // The files that an Include line's pattern names, in the order in which the server reads them.
    std::vector<std::string> included(std::string_view pattern) const;

private:
    Outcome read(const std::string& path, int depth);

    std::deque<std::unique_ptr<ConfigurationFile>> files_;
    std::shared_ptr<Defines> defines_ = std::make_shared<Defines>();
};

// The main configuration file of the installed server.
Expected<std::string> findConfiguration();
}  // namespace zpweb
