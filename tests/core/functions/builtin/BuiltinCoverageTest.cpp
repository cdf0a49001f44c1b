// Every type combination that a transform is instantiated for is served by at least one built-in,
// and the lookup agrees with the registries about each function it serves.

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "core/functions/builtin/BuiltinTestSupport.h"
#include "core/functions/builtin/InstanceTables.h"

namespace zel::test::builtin {
namespace {

core::FunctionRegistry const& RegistryOf(Registry registry) {
    switch (registry) {
        case Registry::Unary:
            return Builtins().GetUnaryFunctions();
        case Registry::Binary:
            return Builtins().GetBinaryFunctions();
        case Registry::Multinary:
            break;
    }
    return Builtins().GetMultinaryFunctions();
}

std::vector<KeySegmentType> KeyOf(InstanceRow const& row) {
    std::vector<KeySegmentType> key;
    for (core::StoreType type : row.inputs) {
        key.emplace_back(StoreTypeInfo(type, false));
    }
    return key;
}

// Whether an entry can serve the row: its registered output has the row's value class, and what the
// transform needs of it holds (SetValue calls the regular form of a function that is no creator).
bool Serves(core::RegisteredFunctions const& entry, InstanceRow const& row) {
    if (ValueClassOf(entry.GetOutputType().GetMainType().GetStoreType()) != row.output) {
        return false;
    }
    if (row.op == "SetValue" || row.registry == Registry::Multinary) {
        return !entry.IsCreator() && entry.HasFunction();
    }
    return true;
}

// The names of the built-ins that serve a row.
std::vector<std::string> ServingFunctions(InstanceRow const& row) {
    std::vector<std::string> names;
    auto const key = KeyOf(row);
    for (core::RegisteredFunctions const* entry : RegistryOf(row.registry).GetAllFunctions()) {
        // A multinary function serves whatever arguments a program passes to it.
        bool const keyMatches = row.registry == Registry::Multinary || entry->GetKey().GetInputTypes() == key;
        if (keyMatches && Serves(*entry, row)) {
            names.push_back(entry->GetFunctionName().ToUtf8());
        }
    }
    return names;
}

std::string Describe(InstanceRow const& row) {
    std::ostringstream text;
    text << row.op << "(";
    for (std::size_t i = 0; i < row.inputs.size(); ++i) {
        text << (i ? ", " : "") << core::StoreTypeName(row.inputs[i]);
    }
    text << ") -> " << ValueClassName(row.output);
    return text.str();
}

// Each table holds its instances once, and a built-in serves each of them; for unary and binary
// instances, the lookup (which gives the output type) and the registry (which gives the code) name
// the same function for the same key.
TEST(BuiltinCoverage, EveryInstanceIsListedOnceAndServedByABuiltin) {
    struct Table {
        char const* name;
        std::vector<InstanceRow> rows;
        std::size_t count;
    };
    for (auto const& [name, rows, count] :
         {Table{"Map", MapInstances(), 43}, Table{"Filter", FilterInstances(), 8},
          Table{"Aggregate", AggregateInstances(), 20}, Table{"ZipWith", ZipWithInstances(), 26},
          Table{"SetValue", SetValueInstances(), 14}, Table{"SetValueMulti", SetValueMultiInstances(), 7}}) {
        EXPECT_EQ(rows.size(), count) << name;
        std::set<std::pair<std::vector<core::StoreType>, ValueClass>> distinct;
        for (InstanceRow const& row : rows) {
            EXPECT_TRUE(distinct.insert({row.inputs, row.output}).second) << "twice: " << Describe(row);
            auto const names = ServingFunctions(row);
            if (names.empty()) {
                ADD_FAILURE() << "no built-in serves " << Describe(row);
                continue;
            }
            if (row.registry == Registry::Multinary) {
                continue;
            }
            core::FunctionKey const key(TStringCore::FromUtf8(names.front()), KeyOf(row));
            core::FunctionInfo const& info = Builtins().GetFunctionInfo(key.GetName(), key.GetInputTypes());
            EXPECT_EQ(ValueClassOf(info.GetOutputType()), row.output)
                << names.front() << " for " << Describe(row);
            EXPECT_EQ(&RegistryOf(row.registry).GetFunctions(key).GetInfo(), &info)
                << names.front() << " for " << Describe(row);
        }
    }
}

// One name with one list of input types has one output type, whichever registry holds it, so that
// the lookup's answer (unary first, then binary, then multinary) is right for each of them.
TEST(BuiltinCoverage, RegistriesAgreeOnSharedKeys) {
    for (Registry registry : {Registry::Unary, Registry::Binary, Registry::Multinary}) {
        for (core::RegisteredFunctions const* entry : RegistryOf(registry).GetAllFunctions()) {
            EXPECT_TRUE(entry->GetFunction() || entry->GetSpecialFunction()) << entry->FormatSignature();
            if (entry->AcceptsAnyInputTypes()) {
                continue;
            }
            auto const& key = entry->GetKey();
            core::FunctionInfo const& info = Builtins().GetFunctionInfo(key.GetName(), key.GetInputTypes());
            EXPECT_EQ(info.GetOutputTypeInfo(), entry->GetOutputType()) << entry->FormatSignature();
        }
    }
}

}  // namespace
}  // namespace zel::test::builtin
