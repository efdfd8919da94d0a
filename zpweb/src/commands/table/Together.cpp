#include "commands/table/Together.h"

#include <algorithm>
#include <ctime>
#include <iterator>
#include <utility>

#include "commands/table/Handed.h"
#include "phases/Recover.h"
#include "store/Migration.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int Tries = 3;
constexpr size_t MostTogether = 64;

using Runs = std::vector<const Handed*>;

// What has become of several runs that were made together.
class Together {
public:
    Together(const Settings& settings, const State& state, std::shared_ptr<Lock> lock)
        : settings_(settings), state_(state), lock_(std::move(lock)) {}

    // As one change; where that is refused, halves of them, until those that cannot be made with others are
    // found. These are given back.
    void run(Runs runs) {
        const Runs all = runs;
        int tries = 0;
        for (Try tried = Try::Again; tried != Try::Made;) {
            tried = runs.size() > 1 && tries <= Tries ? tryOnce(runs) : Try::Refused;
            tries += tried == Try::Again ? 1 : 0;
            if (tried == Try::Refused) {
                split(all);
                return;
            }
        }
        for (const Handed* each : all) {
            if (std::find(runs.begin(), runs.end(), each) == runs.end()) {
                giveBack(*each);
            }
        }
    }

    std::optional<RunAnswer> own;

private:
    enum class Try { Made, Again, WithoutOne, Refused };

    void split(const Runs& runs) {
        if (runs.size() < 2) {
            std::for_each(runs.begin(), runs.end(), [this](const Handed* each) { giveBack(*each); });
            return;
        }
        const auto middle = runs.begin() + static_cast<long>(runs.size() / 2);
        run({runs.begin(), middle});
        run({middle, runs.end()});
    }

    void giveBack(const Handed& run) const {
        if (!run.request.empty()) {
            giveBackRequest(state_, run.request);
        }
    }

    // Takes one out of `runs` that cannot be one of them.
    Try tryOnce(Runs& runs) {
        Output common(settings_, "", true);
        std::vector<std::unique_ptr<Output>> outputs;
        Transaction change(settings_, common, {std::to_string(runs.size()) + " changes side by side"});
        if (!change.begin(lock_).ok()) {
            return Try::Refused;
        }
        for (size_t i = 0; i < runs.size();) {
            const Handed& run = *runs[i];
            Output& output = *outputs.emplace_back(std::make_unique<Output>(run.settings, "", true));
            change.beginMember({run.settings, output, run.words, run.login, run.request,
                                [&](const Outcome& outcome) { answer(run, output, common, outcome); }});
            if (runAll(change, run.invocations, run.tellsEach).ok() && change.endMember()) {
                ++i;
            } else {
                runs.erase(runs.begin() + static_cast<long>(i));
                if (!change.dropMember()) {
                    return Try::WithoutOne;
                }
            }
            change.next();
        }
        if (runs.empty()) {
            return Try::Made;
        }
        bool again = false;
        const Outcome outcome = change.finish(again);
        return again ? Try::Again : outcome.ok() || change.stands() ? Try::Made : Try::Refused;
    }

    void answer(const Handed& run, Output& output, const Output& common, Outcome outcome) {
        const Told all = common.told();
        output.say(all.messages);
        if (all.judged) {
            output.setJudged(*all.judged);
        }
        outcome = conclude(run.settings, output, std::move(outcome));
        RunAnswer answer{std::move(outcome), output.told()};
        if (run.request.empty()) {
            own = std::move(answer);
        } else if (Outcome told = answerRequest(state_, run.request, answer); !told.ok()) {
            output.warning(told.message);
        }
    }

    const Settings& settings_;
    const State& state_;
    std::shared_ptr<Lock> lock_;
};

std::vector<Handed> takeWaiting(const State& state, const std::string& own, const Settings& settings) {
    std::vector<Handed> taken;
    if (settings.check || settings.reload) {  // which takes far longer than a moment
        letRequestsArrive(state);
    }
    for (const WaitingRequest& each : waitingRequests(state)) {
        auto handed = taken.size() < MostTogether ? handedFrom(each.text, own, settings) : std::nullopt;
        if (handed && takeRequest(state, each.id)) {
            handed->request = each.id;
            taken.push_back(std::move(*handed));
        }
    }
    return taken;
}

// Runs that were answered ask for the lock once more, for their answers. One that has just begun can have
// it before them; then it lets them go first, so that what they do next can be made along with it.
Expected<Lock> lockBehindAnswered(const State& state, Session& session, const std::string& text,
                                  std::optional<OwnRequest>& request) {
    constexpr int MostTurns = 40;
    constexpr timespec Turn{0, 5'000'000};
    const auto place = [&] {
        auto placed = request ? std::nullopt : OwnRequest::place(state, text);
        if (placed) {
            request.emplace(std::move(*placed));
        }
    };
    bool told = false;
    const auto tell = [&](const std::string& what) {
        if (!std::exchange(told, true)) {
            session.output.note(what);
        }
    };
    const auto givesUp = [&] { return !request || request->withdraw(); };
    for (int i = 0;; ++i) {
        auto lock = Lock::take(state, {session.settings.lockTimeout, tell, place, givesUp});
        const bool isAnswered = request && request->isAnswered();
        if (!lock.ok() || isAnswered || i == MostTurns || !othersAreAnswered(state)) {
            return lock;
        }
        place();
        { const Lock passedOn = std::move(*lock); }
        ::nanosleep(&Turn, nullptr);
    }
}

}  // namespace

Expected<Turn> waitForTurn(Session& session, const std::string& text) {
    const auto main = realPathOf(session.settings.configuration);
    if (!main.ok()) {
        return main.outcome();
    }
    const State state(*main);
    std::optional<OwnRequest> request;
    session.output.step("waiting for the lock");
    auto lock = lockBehindAnswered(state, session, text, request);
    if (!lock.ok()) {
        return lock.outcome();
    }
    Turn turn{std::make_shared<Lock>(std::move(*lock)), {}};
    if (!request) {
        return turn;
    }
    Outcome ready = moveFromBefore(state, session.output);
    ready = ready.ok() ? recover(state, session.output, false) : ready;
    if (!ready.ok()) {
        return ready;
    }
    turn.answer = request->answer();
    return turn;
}

std::optional<RunAnswer> runWithOthers(const Session& session, const std::string& text, const Turn& turn) {
    const auto main = realPathOf(session.settings.configuration);
    const State state(main.ok() ? *main : "");
    const std::vector<Handed> waiting =
        main.ok() ? takeWaiting(state, text, session.settings) : std::vector<Handed>();
    const auto own = waiting.empty() ? std::nullopt : handedFrom(text, text, session.settings);
    if (!own) {
        return std::nullopt;
    }
    Runs runs{&*own};
    std::transform(waiting.begin(), waiting.end(), std::back_inserter(runs),
                   [](const Handed& each) { return &each; });
    Together together(session.settings, state, turn.lock);
    together.run(std::move(runs));
    return std::move(together.own);
}

}  // namespace zpweb
