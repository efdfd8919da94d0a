#include "support/Editing.h"

#include <CZPWebsite.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "support/Operations.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/VirtualDirectories.h"

namespace zp::test {

namespace fs = std::filesystem;

namespace {

constexpr const char *Old = "old.example", *Home = "/var/www/old.example";
const std::string Configuration =
    "# head\n\nListen 80\nServerRoot \"/srv\"\nLoadModule hostinglimits_module m.so\n"
    "NameVirtualHost 10.0.0.9:*\n" +
    blockOf({.domain = "old.example", .extra = "\t<IfModule m.c>\n\t</IfModule>\n"});

int create(const std::string& file, const Site& site = {}) {
    std::error_code notMade;
    fs::create_directories(site.parent + site.domain, notMade);
    VHostEntry request = requestFor(site, '0');
    return CZPWebsite(nullptr, file.c_str()).CreateWebsite(&request);
}

template <class Call>
auto website(Call call) {
    return [call](const std::string& file, const std::string& value) {
        CZPWebsite manager(nullptr, file.c_str());
        return int{call(manager, value)};
    };
}
template <class Call>
auto merge(Call call) {
    return website([call](CZPWebsite& manager, const std::string& value) {
        UpdateVHost record{};
        record.pDomain = Old;
        record.Include = {"a" + value};
        return call(manager, record);
    });
}
// Where a text holds "%", the value is put in.
std::string filled(const char* text, const std::string& value) {
    const std::string whole = text;
    return whole.find('%') == std::string::npos ? whole : with(whole, "%", value);
}
StringVector filled(StringVector texts, const std::string& value) {
    texts[0] = filled(texts[0].c_str(), value);
    return texts;
}
template <class Other>
Other filled(Other other, const std::string& /*value*/) {
    return other;
}
template <class... Parameters, class... Arguments>
auto helper(int (ApacheHelper::*operation)(std::string, Parameters...), Arguments... arguments) {
    return [=](const std::string& file, const std::string& value) {
        return primitive(operation, filled(arguments, value)...)(file);
    };
}
const StringVector Lines{"A%"};

Directory denying(const std::string& value) {
    return {.domain = Old, .folder = "/absent", .deny = "a" + value};
}

const Editing Operations[] = {
    {"CreateWebsite", "", 1022, 94, 94, 22, 22, Writes | LeavesCopy,
     [](auto& file, auto& value) { return create(file, {.administrator = "a" + value}); }},
    {"EnableHostingLimits", "", 2999, 0, 0, 1, 2, Plain,
     website([](auto& w, auto&) { return w.EnableHostingLimits(); })},
    {"EnableMessage", "", 1023, 96, 96, 22, 22, Writes | LeavesCopy,
     merge([](auto& w, auto& record) { return w.EnableMessage(&record); })},
    {"DisableMessage", "", 1023, 96, 96, 22, 22, Writes | LeavesCopy,
     merge([](auto& w, auto& record) { return w.DisableMessage(&record, "/home"); })},
    {"UpdateWebsite", "", 1023, 96, 96, 22, 22, Writes | LeavesCopy,
     merge([](auto& w, auto& record) { return w.UpdateWebsite(&record); })},
    {"StartWebsite", "", 29999, 29, 29, 22, 22, LeavesCopy,
     website([](auto& w, auto&) { return w.StartWebsite(Old); })},
    {"StopWebsite", "", 29999, 30, 30, 22, 22, LeavesCopy,
     website([](auto& w, auto&) { return w.StopWebsite(Old); })},
    {"DeleteWebsite", "", 1022, 24, 24, 22, 23, Plain,
     website([](auto& w, auto&) { return w.DeleteWebsite(Old, 0); })},
    {"NameBasedToIPBased", "", 1023, 123, 32, 22, 22, Writes | LeavesCopy,
     website(
         [](auto& w, auto& value) { return w.NameBasedToIPBased("10.0.0.5", "10.0.0.9" + value, Old); })},
    {"IPBasedToNameBased", "", 1023, 121, 32, 22, 22, Writes | Keeps | LeavesCopy,
     website(
         [](auto& w, auto& value) { return w.IPBasedToNameBased("10.0.0.5", "10.0.0.9" + value, Old); })},
    {"EnableOpenBasedir", "", 2046, 96, 96, 22, 22, Plain,
     website([](auto& w, auto&) { return w.Enable_open_basedir(Old, Home); })},
    {"SuPhpForTheServer", "", 1023, 0, 0, 1, 2, Writes,
     website([](auto& w, auto& value) { return w.EnableSuPhpGlobally(value); })},
    {"SuPhpForASite", "", 0, 96, 96, 21, 23, Writes | Keeps | CopyFirst,
     website([](auto& w, auto& value) { return w.EnableSuPhp(Old, "mod_suphp" + value); })},
    {"EnablePerl", "/etc/tempapa1", 2046, 0, 0, 21, 21, Plain,
     website([](auto& w, auto&) { return w.EnablePerl(Old); })},
    {"CreateVirtualDirectory", "/etc/apactemp1", 0, 83, 83, 22, 23, Writes,
     [](auto& file, auto& value) { return createDirectory(file, denying(value)); }},
    {"UpdateVirtualDirectory", "/etc/apactemp1", 0, 89, 89, 22, 23, Writes,
     [](auto& file, auto& value) { return updateDirectory(file, denying(value)); }},
    {"DeleteVirtualDirectory", "/etc/apactemp1", 0, 85, 85, 22, 23, Plain,
     [](auto& file, auto&) { return deleteDirectory(file, Home); }},
    {"DeleteVhIfmoduleBlock", ".dif", 2047, 0, 0, 22, 23, CopyFirst,
     helper(&ApacheHelper::Apache_DeleteVhIfmoduleBlock, Old, "m")},
    {"ChangeVirtualHostPort", "_zpbackup_cp", 2999, 0, 3, 1, 2, Writes | Keeps,
     helper(&ApacheHelper::Apache_ChangeVirtualHostPort, Old, "*", "%")},
    {"AddDirectiveInVH", "_zpbackup_ACEP", 1023, 0, 1, 1, 1, Writes | Keeps,
     helper(&ApacheHelper::Apache_AddDirectiveInVH, Old, "A", "%", true)},
    {"AddDirectivesInVH", "_zpbackup_ACEP", 1023, 0, 1, 1, 1, Writes | Keeps,
     helper(&ApacheHelper::Apache_AddDirectivesInVH, Old, Lines)},
    {"UpdateDirectiveInVH", "_temp1", 2024, 0, 3, 1, 2, Writes | Keeps,
     helper(&ApacheHelper::Apache_UpdateDirectiveInVH, Old, "ErrorLog", "%", false)},
    {"UpdateVHDirectiveContents", "_temp12", 2024, 0, 3, 1, 2, Writes | Keeps,
     helper(&ApacheHelper::Apache_UpdateVHDirectiveContents, Old, "<Directory", "A%", true)},
    {"DeleteDirectivesInVH", "_temp11", 2024, 0, 3, 1, 2, Keeps,
     helper(&ApacheHelper::Apache_DeleteDirectivesInVH, Old, StringVector{"ErrorLog"})},
    {"writeDirective", ".wd", 1023, 0, 0, 1, 2, Writes,
     helper(&ApacheHelper::Apache_writeDirective, "A%", "Listen", true, 1)},
    {"writeDirective_at_line", ".wd1", 1023, 0, 0, 1, 2, Writes,
     helper(&ApacheHelper::Apache_writeDirective, "A%", "Absent", true, 1)},
    {"addDirectoryTag", "_temp4", 2024, 0, 4, 1, 2, Writes | Keeps,
     helper(&ApacheHelper::Apache_addDirectoryTag, Old, "/srv", Lines)},
    {"UpdateDirectoryDirectives", "_temp3", 2024, 0, 4, 1, 2, Writes | Keeps,
     helper(&ApacheHelper::Apache_UpdateDirectoryDirectives, Old, Home, Lines)},
    {"UpdateDirectoryTagPath", "_temp2", 2024, 0, 4, 1, 2, Writes | Keeps,
     helper(&ApacheHelper::Apache_UpdateDirectoryTagPath, Old, Home, "%")},
    {"DeleteDirectoryTag", "_temp5", 2024, 0, 4, 1, 2, Keeps,
     helper(&ApacheHelper::Apache_deleteDirectoryTag, Old, Home)},
    {"addModule", "_md", 1023, 0, 0, 1, 2, Writes, helper(&ApacheHelper::Apache_addModule, "%")},
};

}  // namespace

std::span<const Editing> editings() { return Operations; }
std::vector<Editing> writingEditings() {
    std::vector<Editing> all;
    std::ranges::copy_if(Operations, std::back_inserter(all), [](auto& row) { return row.is(Writes); });
    return all;
}
const std::string& editedConfiguration() { return Configuration; }

}  // namespace zp::test
