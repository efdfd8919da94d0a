// Reading and editing directives in a configuration file, at server level or inside one domain's block.
//
// The methods treat the file as lines, in one forward scan. A directive is found by a case-insensitive
// prefix test after leading white space, so "User" also finds "UserDir" and the first match wins. A
// domain's block is one whose ServerName line reads exactly the domain, in any letter case, with nothing
// behind it.
//
// Every editing method first keeps a copy of the file under the suffix given below, writes the new text to
// a temporary file beside it, and puts that in place only when the change was made. A temporary file that
// cannot be written whole counts as one that cannot be created.
#pragma once

#include <string>
#include <vector>

typedef std::vector<std::string> StringVector;

class [[gnu::visibility("default")]] ApacheHelper {
public:
    // Server level. 0 found; 1 file; 2 no directive asked for; 3 the value lacks its quotes; 6 not found.
    // A line of more than 118 characters inside a <VirtualHost> block ends the search.
    int Apache_getDirectiveValue(std::string apacheConfFile, std::string directive, std::string & value,
                                 bool isValueQuoted);
    // A LoadModule line at server level. 0 found; 1 file; 2 not found. The same 118 characters hold.
    int Apache_checkModule(std::string apacheConfFile, std::string moduleName, bool& isExist);
    // In the domain's block. 0 found; 1 file; 3 the value lacks its quotes; 4 not found.
    int Apache_getDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive,
                                std::string & value, bool valueQuoted);
    // Server level, a line with exactly this value.
    bool Apache_isDirectiveWithValueExists(std::string apacheConfFile, std::string directive,
                                           std::string value, bool isValueQuoted);
    // An <IfModule> line for the module, its name up to the first ".", in the domain's block.
    bool Apache_isModuleExistsInVH(std::string httpdConfFile, std::string domainName,
                                   std::string moduleName);
    // Removes the module's <IfModule> block from the domain's block. 0 done or nothing found; 22 file;
    // 23 temporary file. No copy is kept; ".dif" stays when nothing was found.
    int Apache_DeleteVhIfmoduleBlock(std::string apacheConfFile, std::string domainName,
                                     std::string moduleName);
    // Rewrites the opening line of the domain's first block. 0; 1 file; 2 temporary file; 3 no such domain.
    // Copy: ".zpbackup.cp".
    int Apache_ChangeVirtualHostPort(std::string apacheConfFile, std::string domainName, std::string ip,
                                     std::string port);
    // Adds a line at the end of each block of the domain. 0 added; 1 no such domain. Copy:
    // ".zpbackup.ACEP".
    int Apache_AddDirectiveInVH(std::string apacheConfFile, std::string domainName, std::string directive,
                                std::string value, bool valueQuoted);
    // Inside the domain's nested blocks that begin with `directive`: adds the line `value` where none
    // begins with it, and drops those that do unless `addValue`. 0; 1 file; 2 temporary file; 3 no
    // "</Directory>" reached. Copy: ".zpbackup.rt".
    int Apache_UpdateVHDirectiveContents(std::string apacheConfFile, std::string domainName,
                                         std::string directive, std::string value, bool addValue);
    // Replaces the first line of the directive in each block of the domain. 0; 1 file; 2 temporary file;
    // 3 domain or directive not found. Copy: ".zpbackup.rt".
    int Apache_UpdateDirectiveInVH(std::string apacheConfFile, std::string domainName,
                                   std::string directive, std::string value, bool valueQuoted);
    // Writes `entry` before or behind the first server-level line that begins with `reference`; without
    // one, before line `lineCount`, if that is not empty. 0; 1 file; 2 temporary file. Copy:
    // ".zpbackup.rt".
    int Apache_writeDirective(std::string apacheConfFile, std::string entry, std::string reference,
                              bool beforeReference, int lineCount);
    // Deletes every line of the domain's first block that begins with one of the directives and a blank. 0;
    // 1 file; 2 temporary file; 3 no such block, or never closed. Copy: ".zpbackup.drt".
    int Apache_DeleteDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                    StringVector & directives);
    // Adds whole lines at the end of the domain's first block. 0 added; 1 no such domain. Copy:
    // ".zpbackup.AD".
    int Apache_AddDirectivesInVH(std::string apacheConfFile, std::string domainName,
                                 StringVector & directives);

    // <Directory> blocks of the domain. 0; 1 file; 2 temporary file; 3 a directory line lacks a quote, or
    // the block never ends; 4 not found. Copy: ".zpbackup.rt".
    int Apache_addDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath,
                               StringVector & dirEntry);
    int Apache_UpdateDirectoryDirectives(std::string apacheConfFile, std::string domainName,
                                         std::string dirPath, StringVector & entry);
    int Apache_UpdateDirectoryTagPath(std::string apacheConfFile, std::string domainName,
                                      std::string oldPath, std::string newPath);
    int Apache_deleteDirectoryTag(std::string apacheConfFile, std::string domainName, std::string dirPath);

    // Is there a file "mod_" + moduleName + ".so" in the modules directory? 0 yes; 1 file; 4 no, or the
    // configuration is empty.
    int Apache_checkModulePhysicalPath(std::string apacheConfFile, std::string moduleName, bool& isExist);
    // Adds a LoadModule line before the first one, else before the first <VirtualHost>, else at the end. 0;
    // 1 file; 2 temporary file; 4 the file cannot be appended to. Copy: ".zpbackup.rt".
    int Apache_addModule(std::string apacheConfFile, std::string moduleName);
};
