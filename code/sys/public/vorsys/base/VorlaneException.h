#pragma once

#pragma GCC visibility push(default)

#include <exception>
#include <string>

// The root of the exceptions that vorsys itself throws. The text is fixed at construction so
// that what() never allocates.
class VorlaneException : public std::exception {
public:
    VorlaneException() = default;
    explicit VorlaneException(std::string text) : m_text(std::move(text)) {}
    VorlaneException(VorlaneException const&) = default;
    VorlaneException& operator=(VorlaneException const&) = default;
    ~VorlaneException() override = default;

    char const* what() const noexcept override {
        return m_text.empty() ? "vorsys exception" : m_text.c_str();
    }

private:
    std::string m_text;
};

// A broken invariant inside vorsys, raised by ThrowLogicException.
class VorlaneLogicException : public VorlaneException {
public:
    VorlaneLogicException(char const* sourcePath, int line, char const* conditionText);

    std::string const& GetSourcePath() const noexcept { return m_sourcePath; }
    int GetLine() const noexcept { return m_line; }
    std::string const& GetConditionText() const noexcept { return m_conditionText; }

private:
    std::string m_sourcePath;
    int m_line;
    std::string m_conditionText;
};

// The failure of vorsys's own inlined headers: throws VorlaneLogicException naming the place and
// the condition that did not hold.
[[noreturn]] void ThrowLogicException(char const* sourcePath, int line, char const* conditionText);

#pragma GCC visibility pop
