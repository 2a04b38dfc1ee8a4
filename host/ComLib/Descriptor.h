#pragma once

#include <unistd.h>

#include <utility>

/// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number(number) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            Close();
            number = std::exchange(other.number, -1);
        }
        return *this;
    }

    int Get() const { return number; }
    int Release() { return std::exchange(number, -1); }
    explicit operator bool() const { return number >= 0; }

private:
    void Close() {
        if (number >= 0) {
            close(number);
        }
    }

    int number;
};
