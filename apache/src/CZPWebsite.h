// The websites of an Apache HTTP Server: their life, addressing, host names, script handlers and logs, and
// the discovery of the server's installation.
//
// One manager serves one request: it is built with the panel's tracking object and the configuration file
// to edit, one operation is called on it, and it is destroyed. Operations read and write that file as text,
// line by line; a changed file is written whole beside the old one and then put in its place with "mv".
// Nothing here restarts the server: `CmdApchRestart` does. Nothing is locked: the caller serialises its
// requests.
//
// Results are small numbers. These mean the same everywhere: 21 no configuration path, 22 the configuration
// file cannot be opened, 23 the scratch file cannot be opened. docs/operations.md lists all of them.
#pragma once

#include <CZPTrackManager.h>
#include <sys/types.h>

#include <iosfwd>
#include <string>
#include <vector>

typedef std::vector<std::string> StringVector;

// A directive's first argument and the rest of it.
struct NameValueSt {
    std::string Name, Value;
};
typedef std::vector<NameValueSt> NameValueVector;

// A website to be created. The caller fills the fields with NUL-terminated text; the library only reads
// them.
struct VHostEntry {
    char IPAddress[255];    // IPv4, or IPv6 without brackets; a ":" anywhere makes it IPv6
    char DName[256];        // the domain as entered
    char PunyCode[500];     // its ASCII (IDNA) form; the same as DName for a plain ASCII name
    char UserName[256];     // the account that owns the site's directories
    char ServerAdmin[256];  // the administrator: local part of the mail address, and owner of the log
                            // directories
    char Port[16];          // reported to tracking only; the port written is "WebServerPort" of the product
    char Path[256];         // the parent of site homes, ending in "/"; a site's home is Path + DName
    char IPSwitch;          // '0' append, '1' name-based, '2' IP-based in place of the address's own block
    char AdminPasswd[80];   // carried with the request, not read
};

// The settings of an existing website. In every NameValueVector `Name` is the directive's first argument.
struct UpdateVHost {
    const char* pDomain;  // the site's ServerName
    const char* DirPath;  // the directory whose mode an update sets; may be null
    mode_t AccessMode;    // that mode; 0 leaves modes alone
    NameValueVector Alias, ScriptAlias, ProxyPass, ProxyPassReverse, Redirect, ErrorDoc;
    StringVector ServerAlias, Include, DirIndex, DocRootPath;
};

// Looks up `param` in a file of lines such as WebServerPort = "80". The first line that begins with the
// key, in any letter case, decides. Returns 1 and sets `ParamVal` to what stands between that line's first
// two double quotes; 0 when there is no such line or quote, and `ParamVal` stays as it was.
[[gnu::visibility("default")]] int getParamFromZPConfFile(std::string zpConfFile, std::string& ParamVal,
                                                          std::string param);

// The installed server's version as "apachectl -v", "httpd -v" or "apache2 -v" tells it; -1 for each number
// that is not known. Prints the three numbers.
[[gnu::visibility("default")]] void getApacheVersion(int& major, int& minor, int& minorMinor);

// The name of the account that owns `path`; "" when the path or its owner cannot be found.
[[gnu::visibility("default")]] std::string GetPathOwner(std::string path);

// Local day, month, year and hour, joined by "-" and not padded: 5-3-2026-9.
[[gnu::visibility("default")]] std::string currentTimeStamp();

class [[gnu::visibility("default")]] CZPWebsite {
public:
    CZPWebsite();  // a manager without a configuration file
    explicit CZPWebsite(CZPTrackManager * trackManager);
    CZPWebsite(CZPTrackManager * trackManager, const char* conf);  // keeps the pointer `conf`
    ~CZPWebsite();

    // Adds the site's block to the configuration and makes its directories (www, www/html, www/cgi-bin,
    // log, log/httpd, db, special) below the home Path + DName, which must exist. 94 done; 92 the domain
    // exists, or the address's block belongs to a name; 2 a directory could not be made or the owner is
    // unknown; 21; 22.
    char CreateWebsite(VHostEntry * objVHost);
    // Appends a block for the panel's own port, 8077, to `out` unless the configuration has one for the
    // address. 0 done; 1 the configuration cannot be opened; 15 there is none.
    char AddWebsitePort(std::ofstream & out, std::string ApchIPAddress);

    // 31 a block's first ServerName is `domain`; 32 none is; 21; 22.
    char WebsiteExists(const char* domain);
    // Appends the server name of every site of the configuration and of the files that it includes (no
    // directories, no wildcards). 28 done; 21; 22.
    char ListWebsites(StringVector & websites);
    // Appends the server names of one file. Always true.
    bool VHostsInIncFile(std::string file, StringVector & websites);
    // The site's quoted DocumentRoot; "" when there is none.
    std::string GetRootDocPath(std::string httpdConfFile, std::string domainName);
    // True and the address of the site's block, without brackets and port; false when the site is absent. A
    // file that cannot be opened gives true and leaves `szIPAdrr` alone.
    bool LookupDomainInConfFile(std::string DomainName, std::string HttpdConfFile, std::string & szIPAdrr);

    // Reads a site's directives into the record, appending to its lists. 25 read; 27 read, but the document
    // root cannot be examined; 26 no such site, and `pDomain` is set to null; 21; 22.
    char GetWebsiteInfo(UpdateVHost * ObjUVHost);
    // Merges the record into the site's block; entries are erased from it as they are written. 96 done,
    // also when the site is absent; 21; 22.
    char UpdateWebsite(UpdateVHost * ObjUVHost);
    // Removes every block whose ServerName is the domain. 24 done, also when there was none; 21; 22; 23.
    // `DomainType` has no effect.
    char DeleteWebsite(const char* pDName, char DomainType);

    // Comment a site's blocks in or out. 29 or 30 once the file was read, found or not; 22. A start throws
    // std::out_of_range, and leaves the file alone, where a line of the site holds comment marks alone.
    char StartWebsite(const char* DomainName);
    char StopWebsite(const char* DomainName);
    // Have no effect and return 0.
    char PauseWebsite(const char* Name);
    char ContinueWebsite(const char* Name);
    // 34 running; 33 stopped; 1 no such site; 21; 22.
    char GetWebsiteStatus(std::string szDomainName);

    // Point the site at the message page and back at SitePath + "/www/html", merging the record as
    // UpdateWebsite does. 96 done, also when the site is absent; 21; 22.
    int EnableMessage(UpdateVHost * ObjUVHost);
    int DisableMessage(UpdateVHost * ObjUVHost, const char* SitePath);

    // Moves a site's blocks from `oldIP` to an address of its own. 123 moved; 32 no such block; 21; 22.
    int NameBasedToIPBased(std::string oldIP, std::string newIP, std::string domainName);
    // Moves a site's blocks to a shared address and sees to its NameVirtualHost lines. 121 moved; 32 no
    // such block, file unchanged; 21; 22.
    int IPBasedToNameBased(std::string oldIP, std::string newIP, std::string domainName);
    // Appends the addresses that NameVirtualHost lines and blocks use. 28 done; 21; 22.
    int ListOccupiedIPs(StringVector * OccupiedIPsList);
    // "true" and the address when the site's block stands at a NameVirtualHost address, else "false".
    std::string ISIPLessDomain(std::string DomainName, std::string HttpdConfFile, std::string & szIPAdrr);

    // Change the names of the site's ServerAlias line. 0 done; 1 no such line, or it cannot be written; 2
    // the name is there already (AddHostHeader).
    char AddHostHeader(std::string domainName, std::string hostHeader);
    char DeleteHostHeader(std::string domainName, std::string hostHeader);

    // Removes the site's access log ("DEL"), or packs and removes it ("ZIPandDEL"), once it has reached
    // `szThresholdSize` megabytes. 1 done or still smaller; 0 nothing could be done.
    int rotateLog(std::string szHttpdConfFile, std::string szDomainName, std::string szThresholdSize,
                  std::string szOption);

    // An AddHandler line for Perl in the <Directory> block of the site's document root. 0 done; 21.
    int EnablePerl(std::string szDomainName);
    int DisablePerl(std::string szDomainName);
    // PHP's open_basedir in the site's <Directory> block for DirPath. 96 done; 22.
    int Enable_open_basedir(std::string szDomainName, std::string DirPath);
    int Disable_open_basedir(std::string szDomainName, std::string DirPath);

    // Installs suPHP's program, configuration and server module on the host. 0; `apacheUser` is not used.
    int ConfigureSuPhp(std::string httpdConfFile, std::string webspacePath, std::string phpCGIPath,
                       std::string apacheUser);
    int EnableSuPhpGlobally(std::string Module);                       // 0 done; 1 and 2 as 22 and 23
    int DisableSuPhpGlobally();                                        // 96 done; 21
    int EnableSuPhp(std::string DomainName, std::string Module);       // 96 done; 21; 23
    int DisableSuPhp(std::string DomainName, std::string ModuleName);  // 96 done; 87 block too long; 21; 23

    bool ISCloudLinux();
    // The highest LVE id of the file; 1000 when it has none; 0 when it cannot be opened.
    int ExtractHighestLVEid(std::string HttpdConfFile);
    // Writes the AllowedHandlers block behind the LoadModule line of mod_hostinglimits. 0 done, also when
    // there is no such line; 1 the configuration, 2 the scratch file cannot be opened.
    int EnableHostingLimits();

    // The server's pieces; "" when unknown.
    std::string getApacheServerRoot(std::string httpdConfFile);
    std::string getApachePIDFilePath();
    std::string getApacheServicePath();
    std::string getApacheModulesDir(std::string httpdConfFile);
    // The run-time account, variables of /etc/apache2/envvars resolved. 0; 1 no User; 2 no Group.
    int getApacheUserGroup(std::string httpdConfFile, std::string & apacheUser, std::string & apacheGroup);
    // Asks the running server for a graceful restart: running requests finish. 0 asked; 1 it could not be.
    int CmdApchRestart(const char* pidFile);

private:
    // The lines of a new site's block.
    [[gnu::visibility("hidden")]] StringVector WriteWebsiteEntry(const VHostEntry* objVHost,
                                                                 const std::string& address);

    char* TEMPFILE = nullptr;
    const char* HttpdConfFile = nullptr;
    CZPTrackManager* TrackManager = nullptr;
};
