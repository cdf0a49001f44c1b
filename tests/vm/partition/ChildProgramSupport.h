#pragma once

// Shared by the Case and partition tests: programs with child statements run through a whole
// machine over a JSON store, or made into their first statement's transform and run by hand, with
// a few probe functions that count their calls or raise a cancellation flag.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/FlagCancellationSource.h"
#include "support/ProgramSupport.h"
#include "vm/filter/FilterTestSupport.h"
#include "zel/core/functions/BuiltinFunctions.h"
#include "zel/core/functions/FunctionLookup.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/io/StoreValueParser.h"
#include "zel/core/store/DataStore.h"
#include "zel/core/store/StoreValue.h"
#include "zel/core/utility/ZelException.h"
#include "zel/core/vtl/VtlParser.h"
#include "zel/vm/host/VMFactory.h"
#include "zel/vm/materialize/MakeTransform.h"

namespace zel::test::child {

using filter::Json;
using filter::Parse;
using Value = std::shared_ptr<core::StoreValue>;

// What the probes touch. Tests reset them before use.
struct Probes {
    std::atomic<int> calls{0};
    FlagCancellationSource cancel;
};

inline Probes& GetProbes() {
    static Probes probes;
    return probes;
}

inline void ResetProbes() {
    GetProbes().calls = 0;
    GetProbes().cancel.cancelled = false;
}

// The built-ins and:
//   probe_count(x): x, counting each row it sees.
//   probe_cancel(x): x, counting each row, and raising the probes' cancellation flag.
//   probe_true(...): true, counting each call: a condition that shows whether it was evaluated.
//   `probe|pipe`(...): 1.0, a multinary function whose name holds a "|".
inline core::FunctionLookup const& Functions() {
    static std::unique_ptr<core::FunctionLookup> const lookup = [] {
        auto l = std::make_unique<core::FunctionLookup>();
        core::RegisterBuiltinFunctions(*l);
        l->RegisterUnary(L"probe_count", [](double x) {
            ++GetProbes().calls;
            return x;
        });
        l->RegisterUnary(L"probe_cancel", [](double x) {
            ++GetProbes().calls;
            GetProbes().cancel.cancelled = true;
            return x;
        });
        l->RegisterMultinary(L"probe_true", {}, [](core::CreatorArguments&) {
            ++GetProbes().calls;
            return true;
        });
        l->RegisterMultinary(L"probe|pipe", {}, [](core::CreatorArguments&) { return 1.0; });
        return l;
    }();
    return *lookup;
}

// A machine of `program` over the JSON store `store`, read as the program declares its inputs.
inline std::unique_ptr<vm::VM> MakeVM(std::string const& program, std::string const& store,
                                      vm::VMOptions const& options = {}) {
    return vm::VMFactory::Make(TStringCore::FromUtf8(program), TStringCore::FromUtf8(store), Functions(),
                               options);
}

// Runs `program` to its end and returns the JSON of the result value at `key`.
inline std::string RunToJson(std::string const& program, std::string const& store, std::wstring const& key,
                             vm::VMOptions const& options = {}) {
    auto vm = MakeVM(program, store, options);
    EXPECT_EQ(vm->Execute(), vm::TransformStatus::Complete);
    auto const result = vm->MaterializeDataStore()->FindValue(core::KeyPath::Parse(TStringCore(key)));
    return result ? core::JsonStoreWriter::WriteValue(*result) : "(none)";
}

// The transform of the first statement of `program`.
inline std::unique_ptr<vm::Transform> MakeFirst(std::string const& program,
                                                vm::VMOptions const& options = {}) {
    return MakeFirstWith(Functions(), program, options);
}

inline core::KeyPath Path(wchar_t const* text) {
    return core::KeyPath::Parse(TStringCore(text));
}

// Runs `transform` over `inputs` with the probes' flag raised before the start (no probe call, no
// output), then a clone with the flag raised by a probe (`callsBeforeStop` calls, no output), and
// returns the outputs of a last run without a cancellation source, the probes reset before it.
inline vm::TransformValues ExpectStopsWhenCancelled(vm::Transform const& transform,
                                                    vm::TransformValues const& inputs, int callsBeforeStop) {
    ResetProbes();
    GetProbes().cancel.cancelled = true;
    vm::TransformValues outputs = transform.DoTransform(inputs, &GetProbes().cancel);
    EXPECT_EQ(outputs.begin(), outputs.end());
    EXPECT_EQ(GetProbes().calls.load(), 0);
    ResetProbes();
    outputs = transform.Clone()->DoTransform(inputs, &GetProbes().cancel);
    EXPECT_EQ(outputs.begin(), outputs.end());
    EXPECT_EQ(GetProbes().calls.load(), callsBeforeStop);
    ResetProbes();
    return transform.DoTransform(inputs, nullptr);
}

// A machine of `program` whose cancellation source is the probes' flag ends Cancelled after
// `callsBeforeStop` probe calls.
inline void ExpectMachineCancelled(std::string const& program, std::string const& store, int callsBeforeStop,
                                   vm::VMOptions const& options = {}) {
    ResetProbes();
    auto vm = MakeVM(program, store, options);
    vm->SetCancellationTokenSource(
        std::shared_ptr<vm::ICancellationTokenSource>(std::shared_ptr<void>(), &GetProbes().cancel));
    EXPECT_EQ(vm->Execute(), vm::TransformStatus::Cancelled);
    EXPECT_EQ(GetProbes().calls.load(), callsBeforeStop);
}

// Making the machine of `program` fails with a text that starts with `prefix` (the place and
// operator of the failing statement).
inline void ExpectMakeFailsAt(std::string const& program, std::string const& store,
                              std::string const& prefix) {
    try {
        MakeVM(program, store);
        ADD_FAILURE() << "no failure";
    } catch (core::ZelRuntimeException const& e) {
        std::string const text = e.GetText().ToUtf8();
        EXPECT_EQ(text.rfind(prefix, 0), 0u) << text;
    }
}

// Options that keep every transform on the calling thread.
inline vm::VMOptions Serial() {
    vm::VMOptions options;
    options.SetUseParallelTransforms(false);
    return options;
}

}  // namespace zel::test::child
