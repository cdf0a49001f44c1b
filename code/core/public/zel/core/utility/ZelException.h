#pragma once

#pragma GCC visibility push(default)

#include <exception>
#include <string>

#include "vorsys/string/TStringCore.h"
#include "zel/core/utility/ZelError.h"

namespace zel::core {

// The base of every failure the system throws. what() names the code and, when there is one, the
// text: "error 185 (UnsupportedTypes): unsupported types in Map".
class ZelException : public std::exception {
public:
    ZelException(ZelException const&) = default;
    ZelException& operator=(ZelException const&) = default;
    ~ZelException() override = default;

    ZelError GetError() const noexcept { return m_error; }
    TStringCore const& GetText() const noexcept { return m_text; }
    char const* what() const noexcept override { return m_what.c_str(); }

protected:
    ZelException(ZelError error, TStringCore text, char const* kind);

private:
    ZelError m_error;
    TStringCore m_text;
    std::string m_what;
};

// A failure caused by what the system was given: a program, a store, an argument.
class ZelRuntimeException : public ZelException {
public:
    explicit ZelRuntimeException(ZelError error);
    ZelRuntimeException(ZelError error, TStringCore const& text);
    ZelRuntimeException(ZelRuntimeException const&) = default;
};

// A broken invariant of the system itself: a bug, whatever the input.
class ZelLogicException : public ZelException {
public:
    explicit ZelLogicException(ZelError error);
    ZelLogicException(ZelError error, TStringCore const& text);
    ZelLogicException(ZelLogicException const&) = default;
};

}  // namespace zel::core

#pragma GCC visibility pop
