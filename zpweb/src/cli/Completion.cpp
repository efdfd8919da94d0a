// The bash completion. It asks the program for every word, and evaluates nothing of what it is told.
#include "cli/Documents.h"

namespace zpweb {

void printCompletion(std::ostream& out) {
    out << R"bash(# bash completion of zpweb, written by "zpweb completion"

_zpweb() {
    local offer current=${COMP_WORDS[COMP_CWORD]}
    [[ $current == = ]] && current=
    COMPREPLY=()
    while IFS= read -r offer; do
        case $offer in
        :files)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
        :users) mapfile -t COMPREPLY < <(compgen -u -- "$current") ;;
        *) COMPREPLY+=("$offer") ;;
        esac
    done < <(zpweb complete "$COMP_CWORD" "${COMP_WORDS[@]}" 2>/dev/null)
}

complete -F _zpweb zpweb
)bash";
}

}  // namespace zpweb
