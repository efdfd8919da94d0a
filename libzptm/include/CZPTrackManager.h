// The panel's tracking interface and a stand-alone implementation of it.
//
// A manager of the library reports, before it touches any file, the operation that was called and its
// arguments. The panel ships a tracking library of its own; this one serves programs without the panel.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

typedef std::vector<std::string> StringVector;

class [[gnu::visibility("default")]] CZPTrackManager {
public:
    // One report as it arrived. `text` is the module's or the operation's name (empty for lists);
    // `values` holds (name, value) pairs in the order in which they were given.
    struct Report {
        enum class Kind { Module, Properties, Method, Arguments };
        Kind kind;
        std::string text;
        std::vector<std::pair<std::string, std::string>> values;
    };
    using Callback = std::function<void(const Report&)>;

    // The four operations that managers call. The values come first and their names second; a list that
    // is longer than its partner is completed with empty strings, so that nothing reported is lost.
    void CZPModuleName(std::string moduleName);
    void CZPModuleProperties(StringVector values, StringVector names);
    void CZPMethodName(std::string methodName);
    void CZPMethodArguments(StringVector values, StringVector names);

    // Everything reported so far, oldest first, values as they were given.
    const std::vector<Report>& reports() const;

    // `callback` is handed every later report; an empty function ends that.
    void setCallback(Callback callback);

    // Every later report is also written to `stream` as one line of text; null ends that. The stream must
    // outlive the manager. The value of any name that contains "Passwd" is written as "***", and control
    // characters are written as escapes, so one report is one line whatever it holds.
    void writeTo(std::ostream * stream);

private:
    void add(Report report);

    std::vector<Report> reports_;
    Callback callback_;
    std::ostream* stream_ = nullptr;
};
