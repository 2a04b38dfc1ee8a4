#include "lab/hbacmd/Reply.h"

#include <unistd.h>

#include <algorithm>
#include <random>

#include "lab/hbacmd/Files.h"

namespace {

std::string GarbageText(size_t size) {
    std::minstd_rand generator(20141009);
    std::uniform_int_distribution<int> bytes(0, 255);
    std::string text(size, '\0');
    for (char& character : text) {
        character = static_cast<char>(bytes(generator));
    }
    return text;
}

}  // namespace

Reply::Reply(const Faults& callFaults) : faults(callFaults) {
    for (const char* const kind :
         {"truncate", "empty", "garbage", "endless", "crash", "effect-then-fail", "no-line-ends"}) {
        holding = holding || faults.Has(kind);
    }
}

void Reply::Line(const std::string& text) {
    held += text + "\n";
}

void Reply::Flush() {
    if (!holding) {
        Print();
    }
}

void Reply::Field(const std::string& name, size_t colonColumn, const std::string& value) {
    std::string line = name;
    line.resize(colonColumn, ' ');
    held += line + ": " + value + "\n";
}

void Reply::Error(int code, const std::string& text) {
    Line("ERROR: <" + std::to_string(code) + ">: " + text);
}

void Reply::Print() {
    failed = !WriteWhole(STDOUT_FILENO, held) || failed;
    held.clear();
}

void Reply::Spoil() {
    if (faults.Has("empty")) {
        held.clear();
    }
    if (faults.Has("garbage")) {
        held = GarbageText(held.size());
    }
    if (faults.Has("no-line-ends")) {
        held.erase(std::remove(held.begin(), held.end(), '\n'), held.end());
    }
    const Fault* const cut = faults.Find("truncate");
    if (cut != nullptr || faults.Has("crash")) {
        const auto half = static_cast<long>(held.size() / 2);
        const long size = cut != nullptr ? cut->Number(half) : half;
        held.resize(std::min(held.size(), static_cast<size_t>(size)));
    }
}

void Reply::PrintForever() {
    // Fast enough to fill a disk that nobody watches, slow enough to leave the processor to others.
    constexpr long pauseMs = 10;
    const std::string filler(65535, '.');
    while (WriteWhole(STDOUT_FILENO, filler + "\n")) {
        PauseMilliseconds(pauseMs);
    }
    HangForever();
}

int Reply::Finish(int status) {
    Spoil();
    Print();
    if (faults.Has("crash")) {
        Crash();
    }
    if (faults.Has("endless")) {
        PrintForever();
    }
    if (const Fault* const fault = faults.Find("exit")) {
        return static_cast<int>(fault->Number(1));
    }
    return failed && status == 0 ? 1 : status;
}
