#pragma once

#include <optional>
#include <string>

namespace qdmctl {

/// Kinds of messages between the front process and its worker.
enum class FrameType : char {
    // Worker to front.
    Step = 'S',      ///< a step begins; for a changing step the worker waits for Go or Stop
    StepEnd = 'E',   ///< the running step has ended
    Question = 'Q',  ///< asks the user; the front process replies with Go, No or Stop
    Partial = 'P',   ///< the answer as JSON, as it would be if nothing more happened
    Output = 'O',    ///< what is to be printed, once the run is over
    // Front to worker.
    Go = 'G',
    No = 'N',  ///< the user's reply to a question
    Stop = 'X',
};

struct Frame {
    FrameType type;
    std::string text;
};

/// One end of the connection between the front process and its worker. Owns its descriptor, which
/// programs that are started do not inherit.
class Channel {
public:
    explicit Channel(int descriptor) : descriptor(descriptor) {}
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// False when the other end is gone.
    bool Send(FrameType type, const std::string& text = {});

    /// Waits for the next frame; empty when the other end is gone.
    std::optional<Frame> Receive();

    /// True when Receive would not wait.
    bool Ready() const;

    int Descriptor() const { return descriptor; }

private:
    bool ReadAll(char* data, std::size_t size);

    int descriptor;
};

}  // namespace qdmctl
