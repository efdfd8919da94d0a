#include "commands/shared/Scopes.h"

#include <algorithm>
#include <iterator>

#include "conf/Line.h"
#include "input/HostName.h"

namespace zpweb {

namespace {

// The site's blocks as the scope's part; no line may be changed yet.
Scope blocksScope(const ConfigurationFile& file, const std::string& name) {
    const std::vector<Block> blocks = blocksOf(file, name);
    Scope scope = Scope::ofBlocks(file.content().text(), blocks);
    for (const Block& block : blocks) {
        scope.hideComments(block);
    }
    return scope;
}

}  // namespace

std::string_view textOf(std::string_view line) { return zp::conf::skipSpace(withoutReturn(line)); }

std::vector<Block> blocksOf(const ConfigurationFile& file, const std::string& name) {
    std::vector<Block> blocks;
    const SameHost matches(name);
    std::copy_if(file.blocks().begin(), file.blocks().end(), std::back_inserter(blocks),
                 [&](const Block& block) { return !block.name.empty() && matches(block.name); });
    return blocks;
}

Scope additionsScope(const ConfigurationFile& file) { return Scope::additions(file.content().text()); }

Scope sectionScope(const ConfigurationFile& file, const std::string& name, const LineTest& opens) {
    Scope scope = blocksScope(file, name);
    for (const Range& range : scope.part) {
        bool inside = false;
        for (size_t i = range.first; i < range.end; ++i) {
            const std::string_view text = textOf(scope.lines[i]);
            inside = inside || opens(text);
            scope.mayChange[i] = inside;
            inside = inside && !zp::conf::beginsIgnoringCase(text, zp::conf::keyword::DirectoryEnd) &&
                     !zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModuleEndTag);
        }
    }
    return scope;
}

void allowLines(Scope& scope, const LineTest& test) {
    for (const Range& range : scope.part) {
        for (size_t i = range.first; i < range.end; ++i) {
            if (test(textOf(scope.lines[i]))) {
                scope.mayChange[i] = true;
            }
        }
    }
}

LineTest beginsWithAny(std::vector<std::string> keywords) {
    return [keywords = std::move(keywords)](std::string_view text) {
        return std::any_of(keywords.begin(), keywords.end(), [text](const std::string& keyword) {
            return zp::conf::beginsIgnoringCase(text, keyword) &&
                   (text.size() == keyword.size() || zp::conf::isSpace(text[keyword.size()]));
        });
    };
}

LineTest lineOpensDirectory(const std::string& path) {
    return [path](std::string_view text) {
        const zp::conf::Line line(text);
        if (!line.begins(zp::conf::keyword::Directory)) {
            return false;
        }
        const std::string_view argument = line.argumentOf(zp::conf::keyword::Directory);
        return zp::conf::equalIgnoringCase(unquoted(argument.substr(0, argument.rfind('>'))), path);
    };
}

LineTest opensModule(const std::string& module) {
    return [module](std::string_view text) {
        return zp::conf::beginsIgnoringCase(text, zp::conf::keyword::IfModule) &&
               zp::conf::contains(text, module);
    };
}

bool blockHas(const Place& place, const LineTest& test) { return anyLine(place.block->text, test); }

bool anyLine(std::string_view text, const LineTest& test) {
    const Lines lines(text);
    return std::any_of(lines.all.begin(), lines.all.end(),
                       [&](std::string_view line) { return test(textOf(line)); });
}

}  // namespace zpweb
