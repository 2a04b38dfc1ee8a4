#include "qdmctl/Step.h"

#include <charconv>
#include <string_view>

namespace qdmctl {

namespace {

/// Takes what a step's text is made of, piece by piece.
class Reader {
public:
    explicit Reader(std::string_view text) : rest(text) {}

    /// The number before this sign; nothing where there is none.
    std::optional<unsigned> Number(char end) {
        unsigned number = 0;
        const auto [stop, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        const auto size = static_cast<std::size_t>(stop - rest.data());
        if (error != std::errc() || size == rest.size() || *stop != end) {
            return std::nullopt;
        }
        rest.remove_prefix(size + 1);
        return number;
    }

    std::optional<bool> Mark(char end) {
        const auto number = Number(end);
        return number && *number <= 1 ? std::optional(*number == 1) : std::nullopt;
    }

    std::string_view Rest() const { return rest; }

private:
    std::string_view rest;
};

}  // namespace

std::string ToText(const Step& step) {
    std::string text;
    for (const unsigned number :
         {step.number, step.total, unsigned{step.changing}, unsigned{step.announce},
          unsigned{step.guarded}, step.deadlineMs}) {
        text += std::to_string(number) + ' ';
    }
    return text + std::to_string(step.phase.size()) + '\n' + step.phase + step.device;
}

std::optional<Step> StepFromText(const std::string& text) {
    Reader reader(text);
    // Taken in the order in which they stand.
    const std::optional<unsigned> number = reader.Number(' '), total = reader.Number(' ');
    const std::optional<bool> changing = reader.Mark(' '), announce = reader.Mark(' '),
                              guarded = reader.Mark(' ');
    const std::optional<unsigned> deadlineMs = reader.Number(' '), size = reader.Number('\n');
    if (!number || !total || !changing || !announce || !guarded || !deadlineMs || !size ||
        *size > reader.Rest().size()) {
        return std::nullopt;
    }
    const std::string rest(reader.Rest());
    return Step{
        *number,  *total,     rest.substr(0, *size), rest.substr(*size), *changing, *announce,
        *guarded, *deadlineMs};
}

}  // namespace qdmctl
