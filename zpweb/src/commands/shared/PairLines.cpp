#include "commands/shared/PairLines.h"

namespace zpweb {

bool isRedirect(const Statement& statement) {
    return statement.is("Redirect") || statement.is("RedirectPermanent") || statement.is("RedirectTemp");
}

size_t statusWords(const Statement& statement) {
    const std::string first = statement.argument(0);
    return statement.is("Redirect") && !first.starts_with('/') && statement.words().size() > 1 ? 1 : 0;
}

std::string redirectForm(const Statement& statement) {
    const size_t skipped = statusWords(statement);
    const std::string target = statement.argument(skipped + 1);
    return "Redirect \"" + statement.argument(skipped) + "\"" +
           (target.empty() ? "" : " \"" + target + "\"");
}

std::string pairForm(const Statement& statement) {
    const std::vector<Word> words = statement.words();
    std::string form(statement.name);
    for (size_t i = 0; i < words.size(); ++i) {
        form += i == 0 ? " " + words[i].value() : " \"" + words[i].value() + "\"";
    }
    return form;
}

}  // namespace zpweb
