#include <hosts/window/input_script.h>

#include <hosts/shared/settings.h>
#include <hosts/shared/standard_output.h>
#include <hosts/window/key_names.h>

#include <qel/system/core/system.h>

#include <SDL.h>

#include <charconv>
#include <cmath>
#include <iterator>

namespace qelwindow {

namespace {

constexpr float kLargestNumber = 1e6f;
constexpr int kPipeWaitMs = 10; // between two looks at an empty pipe

/// Takes a number from the start of @p text. @return false if there is no number of a sensible size.
bool takeNumber(std::string_view& text, float& number) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto length = static_cast<size_t>(end - text.data());
    if (error != std::errc() || !(std::abs(number) <= kLargestNumber)) return false;
    if (length < text.size() && text[length] != ' ') return false;
    text.remove_prefix(length);
    return true;
}

void push(SDL_Event event) {
    SDL_PushEvent(&event);
}

SDL_Event mouseEvent(Uint32 type, const std::vector<float>& position) {
    SDL_Event event{};
    event.type = type;
    if (type == SDL_MOUSEMOTION) {
        event.motion.x = static_cast<Sint32>(position[0]);
        event.motion.y = static_cast<Sint32>(position[1]);
    } else {
        event.button.x = static_cast<Sint32>(position[0]);
        event.button.y = static_cast<Sint32>(position[1]);
    }
    return event;
}

Uint8 buttonOf(std::string_view name) {
    if (name == "left") return SDL_BUTTON_LEFT;
    if (name == "middle") return SDL_BUTTON_MIDDLE;
    return name == "right" ? SDL_BUTTON_RIGHT : Uint8{0};
}

} // namespace

const InputScript::Row InputScript::kRows[] = {
    {"touch", 3, false, &InputScript::touch},     {"lift", 1, false, &InputScript::lift},
    {"move", 2, false, &InputScript::move},       {"press", 2, true, &InputScript::press},
    {"release", 2, true, &InputScript::release},  {"wheel", 3, false, &InputScript::wheel},
    {"key", 0, true, &InputScript::key},          {"text", 0, true, &InputScript::text},
    {"size", 2, false, &InputScript::resize},     {"minimize", 0, false, &InputScript::minimize},
    {"restore", 0, false, &InputScript::restore}, {"wait", 1, false, &InputScript::wait},
    {"drop", 0, true, &InputScript::drop},        {"frame", 0, true, &InputScript::frame},
    {"state", 0, false, &InputScript::state},     {"close", 0, false, &InputScript::close}};

std::string InputScript::run() {
    std::string line;
    runPasses(); // what is touched must have been drawn
    while (!m_loop.hasEnded()) {
        const LineSource::Result result = m_lines.next(line);
        if (result == LineSource::Result::End) return {};
        if (result == LineSource::Result::Waiting) {
            m_loop.pass(kPipeWaitMs);
            continue;
        }
        const std::string problem =
            result == LineSource::Result::Failed ? "cannot be read or is too long" : runLine(line);
        if (!problem.empty()) return "line " + std::to_string(m_lines.getLineNumber()) + ": " + problem;
    }
    return {};
}

/// Runs a pass, and those after it if they prepare and draw its frame.
void InputScript::runPasses() {
    do m_loop.pass(0);
    while (m_loop.isPreparingFrame() && !m_loop.hasEnded());
}

/// @return what is wrong with the line; empty if nothing is.
std::string InputScript::runLine(std::string_view line) {
    if (line.empty() || line.front() == '#') return {};
    const size_t end = std::min(line.find(' '), line.size());
    Command command{line.substr(0, end), line.substr(std::min(end + 1, line.size())), {}, {}};
    const auto* const row = std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& candidate) {
        return candidate.word == command.word;
    });
    if (row == std::end(kRows)) return "no such command " + qelhosts::inQuotes(command.word);
    command.tail = command.rest;
    for (float number = 0; command.numbers.size() < row->numbers; command.numbers.push_back(number))
        if (!takeNumber(command.tail, number)) return "a number is missing or too large";
    if (row->numbers != 0 && !command.tail.empty()) command.tail.remove_prefix(1);
    if (command.tail.empty() == row->hasText) return row->hasText ? "words are missing" : "too many words";
    const std::string problem = (this->*row->run)(command);
    if (problem.empty()) runPasses();
    return problem;
}

std::string InputScript::touch(const Command& command) {
    const qel::IVec2<float> size(m_window.getSize());
    SDL_Event event{};
    event.type = SDL_FINGERMOTION;
    event.tfinger.touchId = 1;
    event.tfinger.fingerId = static_cast<SDL_FingerID>(command.numbers[0]);
    event.tfinger.x = command.numbers[1] / size.x;
    event.tfinger.y = command.numbers[2] / size.y;
    push(event);
    return {};
}

std::string InputScript::lift(const Command& command) {
    SDL_Event event{};
    event.type = SDL_FINGERUP;
    event.tfinger.touchId = 1;
    event.tfinger.fingerId = static_cast<SDL_FingerID>(command.numbers[0]);
    push(event);
    return {};
}

std::string InputScript::move(const Command& command) {
    push(mouseEvent(SDL_MOUSEMOTION, command.numbers));
    return {};
}

std::string InputScript::press(const Command& command) {
    return button(command, true);
}

std::string InputScript::release(const Command& command) {
    return button(command, false);
}

std::string InputScript::button(const Command& command, bool isPressed) {
    SDL_Event event = mouseEvent(isPressed ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP, command.numbers);
    event.button.button = buttonOf(command.tail);
    if (event.button.button == 0) return "no such button " + qelhosts::inQuotes(command.tail);
    push(event);
    return {};
}

std::string InputScript::wheel(const Command& command) {
    SDL_Event event{};
    event.type = SDL_MOUSEWHEEL;
    event.wheel.mouseX = static_cast<Sint32>(command.numbers[0]);
    event.wheel.mouseY = static_cast<Sint32>(command.numbers[1]);
    event.wheel.preciseY = command.numbers[2];
    push(event);
    return {};
}

std::string InputScript::key(const Command& command) {
    const auto key = keyFromName(command.tail);
    if (!key) return "no such key " + qelhosts::inQuotes(command.tail);
    SDL_Event event{};
    event.type = SDL_KEYDOWN;
    event.key.keysym = *key;
    push(event);
    return {};
}

/// Types the text in pieces, because an event of SDL has room for few bytes.
std::string InputScript::text(const Command& command) {
    std::string_view rest = command.tail;
    while (!rest.empty()) {
        SDL_Event event{};
        event.type = SDL_TEXTINPUT;
        size_t length = std::min(rest.size(), sizeof(event.text.text) - 1);
        while (length > 1 && length < rest.size() && (rest[length] & 0xC0) == 0x80) --length;
        rest.copy(event.text.text, length);
        rest.remove_prefix(length);
        push(event);
    }
    return {};
}

std::string InputScript::resize(const Command& command) {
    m_window.setSize({static_cast<int>(command.numbers[0]), static_cast<int>(command.numbers[1])});
    return {};
}

std::string InputScript::minimize(const Command&) {
    m_window.minimize();
    return {};
}

std::string InputScript::restore(const Command&) {
    m_window.restore();
    return {};
}

std::string InputScript::wait(const Command& command) {
    m_loop.runFor(static_cast<qel::uint32>(std::max(command.numbers[0], 0.0f)));
    return {};
}

std::string InputScript::drop(const Command& command) {
    SDL_Event event{};
    event.type = SDL_DROPFILE;
    event.drop.file = SDL_strdup(std::string(command.rest).c_str());
    push(event);
    return {};
}

std::string InputScript::frame(const Command& command) {
    runPasses();
    return m_loop.saveFrame(std::string(command.tail));
}

std::string InputScript::state(const Command&) {
    const qel::IVec2<int> size = m_window.getSize();
    const bool isTyping = qel::Object::system()->getKeyboardReceiver() != nullptr;
    const auto longest = std::to_string(std::lround(m_loop.takeLongestPassMs()));
    qelhosts::print("frames=" + std::to_string(m_loop.getFrameCount()) + " size=" + std::to_string(size.x) +
                    "x" + std::to_string(size.y) + " typing=" + (isTyping ? "1" : "0") +
                    " visible=" + (m_loop.isVisible() ? "1" : "0") +
                    " passes=" + std::to_string(m_loop.getPassCount()) + " longest=" + longest + "\n");
    return {};
}

std::string InputScript::close(const Command&) {
    SDL_Event event{};
    event.type = SDL_QUIT;
    push(event);
    return {};
}

} // namespace qelwindow
