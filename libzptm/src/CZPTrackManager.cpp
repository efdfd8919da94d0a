#include "CZPTrackManager.h"

#include <algorithm>
#include <cstdio>
#include <ostream>

namespace {

using Report = CZPTrackManager::Report;

std::vector<std::pair<std::string, std::string>> paired(StringVector values, StringVector names) {
    const size_t count = std::max(values.size(), names.size());
    values.resize(count);
    names.resize(count);
    std::vector<std::pair<std::string, std::string>> pairs;
    for (size_t i = 0; i < count; ++i) {
        pairs.emplace_back(std::move(names[i]), std::move(values[i]));
    }
    return pairs;
}

std::string onOneLine(const std::string& text) {
    std::string shown;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            shown += {'\\', c};
        } else if (code < 0x20 || code == 0x7f) {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02x", code);
            shown += escape;
        } else {
            shown += c;
        }
    }
    return shown;
}

const char* title(Report::Kind kind) {
    switch (kind) {
        case Report::Kind::Module:
            return "module";
        case Report::Kind::Properties:
            return "properties";
        case Report::Kind::Method:
            return "method";
        case Report::Kind::Arguments:
            break;
    }
    return "arguments";
}

void write(std::ostream& out, const Report& report) {
    out << title(report.kind);
    if (!report.text.empty()) {
        out << ' ' << onOneLine(report.text);
    }
    for (const auto& [name, value] : report.values) {
        const bool secret = name.find("Passwd") != std::string::npos;
        out << ' ' << onOneLine(name) << "=\"" << (secret ? "***" : onOneLine(value)) << '"';
    }
    out << '\n';
}

}  // namespace

void CZPTrackManager::CZPModuleName(std::string moduleName) {
    add({Report::Kind::Module, std::move(moduleName), {}});
}

void CZPTrackManager::CZPModuleProperties(StringVector values, StringVector names) {
    add({Report::Kind::Properties, {}, paired(std::move(values), std::move(names))});
}

void CZPTrackManager::CZPMethodName(std::string methodName) {
    add({Report::Kind::Method, std::move(methodName), {}});
}

void CZPTrackManager::CZPMethodArguments(StringVector values, StringVector names) {
    add({Report::Kind::Arguments, {}, paired(std::move(values), std::move(names))});
}

const std::vector<CZPTrackManager::Report>& CZPTrackManager::reports() const { return reports_; }

void CZPTrackManager::setCallback(Callback callback) { callback_ = std::move(callback); }

void CZPTrackManager::writeTo(std::ostream* stream) { stream_ = stream; }

void CZPTrackManager::add(Report report) {
    if (stream_ != nullptr) {
        write(*stream_, report);
    }
    if (callback_) {
        callback_(report);
    }
    reports_.push_back(std::move(report));
}
