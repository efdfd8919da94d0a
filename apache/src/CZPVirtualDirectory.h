// Virtual directories: the <Directory> blocks inside a website's block, and its Alias lines.
//
// Results 21, 22 and 23 are those of CZPWebsite.h. Lines are read whole, whatever their length.
#pragma once

#include <CZPTrackManager.h>
#include <sys/types.h>

#include <string>
#include <vector>

typedef std::vector<std::string> StringVector;

// Each option is '+' (on), '-' (off) or 0 (not mentioned).
struct SOptions {
    char Indexes, Includes, FollowSymLinks, MultiViews, ExecCGI;
};

struct SDDir {
    char DomainName[1024];    // the site's ServerName
    char DirPath[1024];       // the directory; empty means the site's own "www" directory (creation)
    char DirName[1024];       // the name of an alias
    char WebAdminPath[1024];  // the parent of site homes: a site's home is WebAdminPath + "/" + DomainName
    mode_t Permission;        // filled by the query: the directory's mode, file type included
    char Order;               // 0 host rules without an order line
    SOptions Options;
    char Allow[256], Deny[256];  // host lists; empty means none
    char AnonAccess;             // '1' basic authentication
    char RubyOnRails;            // '1' a Rails application
    char PerlEnabled;            // '1' Perl CGI
};

class [[gnu::visibility("default")]] CZPVirtualDirectory {
public:
    explicit CZPVirtualDirectory(CZPTrackManager * trackManager);
    CZPVirtualDirectory(CZPTrackManager * trackManager, const char* conf);
    CZPVirtualDirectory(CZPTrackManager * trackManager, const char* conf, const char* insFolder);

    // Adds a <Directory> block to the site's block unless `AdminFlag` is set. 83 done; 1 the directory has
    // one; 87 a directory line lacks its closing quote; 21; 22; 23.
    char CreateVirtualDirectory(SDDir * ObjDDir, int AdminFlag);
    // Removes every block whose path is `pDDir`. 85 done; 1 a directory line lacks its closing quote; 21;
    // 22; 23.
    char DeleteVirtualDirectory(const char* pDDir);
    // 1 at least two Alias lines of the site point at the directory; 0 fewer; 21; 22.
    char DirectoryRequired(std::string DomainName, std::string DirPath);
    // The directory that the site's alias points at; "" when there is none.
    static std::string GetVDPath(std::string httpdConfFile, std::string domainName, std::string VDName);

    // Fills the record from the site's block for DirPath. 86 read, found or not; 1 a directory line lacks
    // its closing quote; 21; 22.
    char GetVirtualDirectoryinfo(SDDir * ObjDDir);
    // Replaces the site's block for DirPath, or adds one. 89 done; 87 as above; 21; 22; 23.
    char UpdateVirtualDirectory(SDDir * ObjDDir);
    // 1 the site has a block for DirPath, or a directory line lacks its closing quote; 0 it has none;
    // 21; 22.
    char VirtualDirectoryExists(SDDir * ObjDDir);
    // Appends target and name of each alias of the site, in turn. 0 done; 21; 22.
    char VirtualDirectoryList(const char* DomainName, StringVector* DDirList);
    // 125 the site has an alias DirName; 88 it has none; 1 an alias line ends in its name; 21; 22.
    char CheckVirDir(SDDir * ObjDDir);

private:
    const char* HttpdConfFile = nullptr;
    const char* InsFolder = nullptr;
    char* TEMPFILE = nullptr;
    CZPTrackManager* TrackManager = nullptr;
};

// Removes a directory and all that it holds; a link in it is removed as a link. 0 removed; 1 failed.
[[gnu::visibility("default")]] char RemoveDir(const char* DName);
