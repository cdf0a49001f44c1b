// log: writes its arguments as one line at level Info through ZelLog. Strings stand as their
// text, every other value in the text form of SerializeValue; a collection of more than ten
// elements shows its first ten and its size.
// print: writes its arguments whole to the process's standard error as one JSON line, an array
// of the values in the store's JSON form, for a program that reports to the command line.

#include <cstdio>
#include <string>

#include "functions/builtin/BuiltinFamilies.h"
#include "zel/core/io/JsonStoreWriter.h"
#include "zel/core/store/StoreValueUtil.h"
#include "zel/core/utility/ZelLog.h"

namespace zel::core::builtin {

namespace {

constexpr unsigned int c_logSample = 10;

TStringCore LogText(std::shared_ptr<StoreValue> const& value) {
    if (!value) {
        return TStringCore(L"nullptr");
    }
    if (value->GetStoreType() == StoreType::String && !value->IsSpecial()) {
        return FetchStoreValue<TStringCore>(value);
    }
    bool const large = (IsCollectionStoreType(value->GetStoreType()) && value->GetCount() > c_logSample);
    if (!large) {
        return SerializeValue(*value);
    }
    return SerializeValue(*SampleStoreValue(*value, c_logSample)) +
           TStringCore::FromUtf8(" (" + std::to_string(value->GetCount()) + " elements)");
}

void Log(CreatorArguments const& arguments) {
    if (!GetZelLogger().AcceptsLogLevel(ZelLogLevel::Info)) {
        return;
    }
    TStringCore line;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) {
            line += L' ';
        }
        line += LogText(arguments[i]);
    }
    ZelLog(ZelLogLevel::Info, line);
}

void Print(CreatorArguments const& arguments) {
    std::string line = "[";
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) {
            line += ',';
        }
        line += arguments[i] ? JsonStoreWriter::WriteValue(*arguments[i]) : "null";
    }
    line += "]\n";
    // One write a line: stdio locks the stream for each call, so lines of calls on several threads
    // do not mix.
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

void RegisterOutputFunctions(FunctionLookup& lookup) {
    lookup.RegisterMultinary(L"log", {}, FunctionPointer<&Log>{});
    lookup.RegisterMultinary(L"print", {}, FunctionPointer<&Print>{});
}

}  // namespace zel::core::builtin
