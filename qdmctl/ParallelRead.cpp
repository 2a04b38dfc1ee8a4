#include "qdmctl/ParallelRead.h"

#include "qdmctl/ToolOutput.h"

#include <poll.h>
#include <unistd.h>
#include <algorithm>
#include <utility>

namespace qdmctl {
namespace {

constexpr int TickMs = 100;
constexpr auto OutputCheckInterval = std::chrono::milliseconds(250);

}  // namespace

ParallelRead::ParallelRead(Limits limits, ReaderProcess::Call call)
    : limits(std::move(limits)), call(std::move(call)), readers(this->limits.processes) {}

std::vector<ParallelRead::Outcome> ParallelRead::Run(std::size_t count,
                                                     const std::function<bool()>& stopped) {
    outcomes.assign(count, Outcome::NotBegun);
    next = 0;
    outputChecked = Clock::now();
    for (;;) {
        if (!stopped()) {
            BeginCalls();
        }
        if (!AnyBusy()) {
            return std::move(outcomes);
        }
        Await();
        CheckDeadlines();
        CheckOutput();
    }
}

void ParallelRead::BeginCalls() {
    while (next < outcomes.size()) {
        Reader* reader = FreeReader();
        if (reader == nullptr) {
            return;
        }
        reader->number = next++;
        reader->begun = Clock::now();
        reader->busy = true;
        if (!reader->process->Begin(reader->number)) {
            End(*reader, Outcome::NotBegun);
        }
    }
}

/// Null when all are busy, or no further process can be made now.
ParallelRead::Reader* ParallelRead::FreeReader() {
    const auto waits = [](const Reader& reader) { return reader.process && !reader.busy; };
    auto found = std::find_if(readers.begin(), readers.end(), waits);
    if (found == readers.end()) {
        found = std::find_if(readers.begin(), readers.end(),
                             [](const Reader& reader) { return !reader.process; });
        if (found == readers.end() || !(found->process = ReaderProcess::Start(call))) {
            return nullptr;
        }
    }
    return &*found;
}

bool ParallelRead::AnyBusy() const {
    return std::any_of(readers.begin(), readers.end(),
                       [](const Reader& reader) { return reader.busy; });
}

void ParallelRead::Await() {
    std::vector<pollfd> entries;
    entries.reserve(readers.size());
    for (const Reader& reader : readers) {
        entries.push_back({reader.busy ? reader.process->Descriptor() : -1, POLLIN, 0});
    }
    if (::poll(entries.data(), entries.size(), TickMs) <= 0) {
        return;
    }
    for (std::size_t i = 0; i < readers.size(); ++i) {
        if (entries[i].revents == 0) {
            continue;
        }
        const auto result = readers[i].process->Result();
        if (result) {
            outcomes[readers[i].number] = *result ? Outcome::Done : Outcome::Failed;
            readers[i].busy = false;
        } else {
            End(readers[i], Outcome::Lost);
        }
    }
}

void ParallelRead::CheckDeadlines() {
    const auto now = Clock::now();
    for (Reader& reader : readers) {
        if (reader.busy && now - reader.begun > limits.deadline) {
            End(reader, Outcome::OutOfTime);
        }
    }
}

/// A tool whose output does not end is ended; its call goes on and tells the failure.
void ParallelRead::CheckOutput() {
    const auto now = Clock::now();
    if (now - outputChecked < OutputCheckInterval) {
        return;
    }
    outputChecked = now;
    if (!ToolOutput(::getpid(), limits.folder).TooLong()) {
        return;
    }
    for (const Reader& reader : readers) {
        if (!reader.busy) {
            continue;
        }
        const ToolOutput output(reader.process->Pid(), limits.folder);
        if (output.TooLong()) {
            output.EndAndDiscard();
        }
    }
}

void ParallelRead::End(Reader& reader, Outcome outcome) {
    outcomes[reader.number] = outcome;
    reader.busy = false;
    reader.process.reset();
}

}  // namespace qdmctl
