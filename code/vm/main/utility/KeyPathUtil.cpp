#include "zel/vm/utility/KeyPathUtil.h"

#include <memory>

#include <boost/thread/once.hpp>

#include "zel/core/store/StoreTypeInfo.h"
#include "zel/core/utility/ZelCheck.h"

namespace zel::vm::KeyPathUtil {

using core::KeyPath;
using core::ZelError;

namespace {

boost::once_flag g_initialOnce = BOOST_ONCE_INIT;
// Owned here and released at process exit by the static's destructor.
std::unique_ptr<KeyPath> g_initial;

void BuildInitial() {
    auto segment = std::make_shared<core::KeySegment>(TStringCore(c_InitialSegment),
                                                      core::KeySegmentType(core::StoreTypeInfo::KeyMap));
    g_initial = std::make_unique<KeyPath>(segment);
}

}  // namespace

KeyPath const& Initial() {
    boost::call_once(g_initialOnce, &BuildInitial);
    return *g_initial;
}

KeyPath AddInitial(KeyPath const& path) {
    auto const& keySegments = path.GetSegments();
    if (!keySegments.empty()) {
        ZEL_CHECK(keySegments[0]->GetSegment() != c_InitialSegment, ZelError::AlreadyInitialPath);
    }
    KeyPath::Segments segments;
    segments.reserve(keySegments.size() + 1);
    segments.push_back(Initial().GetLeafSegment());
    segments.insert(segments.end(), keySegments.begin(), keySegments.end());
    return KeyPath(std::move(segments));
}

KeyPath DropInitial(KeyPath const& path) {
    auto const& keySegments = path.GetSegments();
    ZEL_CHECK(keySegments.size() > 1, ZelError::InitialPathTooShort);
    ZEL_CHECK(keySegments[0]->GetSegment() == c_InitialSegment, ZelError::NotInitialPath);
    return KeyPath(KeyPath::Segments(keySegments.begin() + 1, keySegments.end()));
}

KeyPath GetLocalSubpath(KeyPath const& path) {
    auto const& keySegments = path.GetSegments();
    for (auto it = keySegments.begin(); it != keySegments.end(); ++it) {
        if ((*it)->GetSegment().startsWith(L'~', CaseSensitivity::CaseSensitive)) {
            return KeyPath(KeyPath::Segments(it + 1, keySegments.end()));
        }
    }
    return path;
}

KeyPath MakeLocalsPath(TStringCore const& name) {
    return KeyPath(TStringCore(L"~") + name, core::KeySegmentType(core::StoreTypeInfo::KeyMap));
}

}  // namespace zel::vm::KeyPathUtil
