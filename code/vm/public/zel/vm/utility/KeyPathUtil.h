#pragma once

#pragma GCC visibility push(default)

// The machine's rules for the reserved path space. Input values of a program live under one
// member "~init" of the working store; a segment that begins with "~" marks the start of a
// local name space. All functions are free, thread-safe and allocate nothing for paths of up to
// eight segments.

#include "vorsys/string/TStringCore.h"
#include "zel/core/store/KeyPath.h"

namespace zel::vm::KeyPathUtil {

// The text of the initial segment, "~init".
inline constexpr wchar_t const* c_InitialSegment = L"~init";

// The one-segment path "~init", typed as a key map. Built once per process.
core::KeyPath const& Initial();

// `path` under "~init". A path that already begins with "~init" fails with AlreadyInitialPath
// (365); the empty path gives "~init" alone.
core::KeyPath AddInitial(core::KeyPath const& path);

// `path` without its leading "~init". Fails with InitialPathTooShort (364) for fewer than two
// segments and with NotInitialPath (363) when the first segment is not "~init".
core::KeyPath DropInitial(core::KeyPath const& path);

// The segments after the first one that begins with "~" (the empty path when that one is the
// leaf); a copy of `path` when no segment begins with "~".
core::KeyPath GetLocalSubpath(core::KeyPath const& path);

// The one-segment path "~" + name, typed as a key map. The name is not checked.
core::KeyPath MakeLocalsPath(TStringCore const& name);

}  // namespace zel::vm::KeyPathUtil

#pragma GCC visibility pop
