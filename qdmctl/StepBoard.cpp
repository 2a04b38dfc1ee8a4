#include "qdmctl/StepBoard.h"

#include <sys/mman.h>
#include <array>
#include <atomic>
#include <cstring>
#include <new>

namespace qdmctl {
namespace {

constexpr std::size_t TextSize = 64;

using Word = std::uint64_t;

void CopyText(const std::string& text, char (&to)[TextSize]) {
    to[text.copy(to, TextSize - 1)] = '\0';
}

}  // namespace

struct StepBoard::Note {
    bool shown;
    bool guarded;
    unsigned number, total, deadlineMs;
    char phase[TextSize];
    char device[TextSize];
};

/// The version is odd while a note is being written; one that is read between two equal, even
/// versions is whole.
struct StepBoard::Shared {
    std::atomic<bool> called{false};
    std::atomic<Word> version{0};
    std::array<std::atomic<Word>, (sizeof(Note) + sizeof(Word) - 1) / sizeof(Word)> words{};

    static_assert(std::atomic<Word>::is_always_lock_free, "processes share no lock");
};

StepBoard::StepBoard() : shared(nullptr) {
    void* const memory =
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory != MAP_FAILED) {
        shared = new (memory) Shared;
    }
}

StepBoard::~StepBoard() {
    if (shared != nullptr) {
        ::munmap(shared, sizeof(Shared));
    }
}

void StepBoard::Show(const Step& step) {
    Note note{};
    note.shown = true;
    note.guarded = step.guarded;
    note.number = step.number;
    note.total = step.total;
    note.deadlineMs = step.deadlineMs;
    CopyText(step.phase, note.phase);
    CopyText(step.device, note.device);
    Write(note);
}

void StepBoard::Clear() {
    Write(Note{});
}

void StepBoard::Call() {
    shared->called.store(true, std::memory_order_release);
}

bool StepBoard::Called() const {
    return shared->called.load(std::memory_order_acquire);
}

void StepBoard::Write(const Note& note) {
    std::array<Word, std::tuple_size_v<decltype(Shared::words)>> words{};
    std::memcpy(words.data(), &note, sizeof note);
    const Word version = shared->version.load(std::memory_order_relaxed);
    shared->version.store(version + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    for (std::size_t i = 0; i < words.size(); ++i) {
        shared->words[i].store(words[i], std::memory_order_relaxed);
    }
    shared->version.store(version + 2, std::memory_order_release);
}

bool StepBoard::Look(std::optional<Step>& step) {
    const Word version = shared->version.load(std::memory_order_acquire);
    if (version == seen || version % 2 != 0) {
        return false;
    }
    std::array<Word, std::tuple_size_v<decltype(Shared::words)>> words{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = shared->words[i].load(std::memory_order_relaxed);
    }
    std::atomic_thread_fence(std::memory_order_acquire);
    if (shared->version.load(std::memory_order_relaxed) != version) {
        return false;
    }
    seen = version;
    Note note{};
    std::memcpy(&note, words.data(), sizeof note);
    step.reset();
    if (note.shown) {
        step = Step{note.number, note.total, note.phase,   note.device,
                    false,       false,      note.guarded, note.deadlineMs};
    }
    return true;
}

}  // namespace qdmctl
