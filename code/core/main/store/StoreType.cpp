#include "zel/core/store/StoreType.h"

#include <array>
#include <utility>

namespace zel::core {

namespace {

constexpr std::array<std::pair<StoreType, std::string_view>, 15> c_names{{
    {StoreType::Bool, "bool"},
    {StoreType::Int32, "int32"},
    {StoreType::Int64, "int64"},
    {StoreType::Float, "float"},
    {StoreType::Double, "double"},
    {StoreType::String, "string"},
    {StoreType::Date, "date"},
    {StoreType::DateTime, "datetime"},
    {StoreType::Color, "color"},
    {StoreType::Object, "object"},
    {StoreType::Array, "array"},
    {StoreType::Set, "set"},
    {StoreType::Tuple, "tuple"},
    {StoreType::KeyMap, "keymap"},
    {StoreType::Table, "table"},
}};

}  // namespace

std::string_view StoreTypeName(StoreType type) noexcept {
    if (type == StoreType::Empty) {
        return "empty";
    }
    for (auto const& [candidate, name] : c_names) {
        if (candidate == type) {
            return name;
        }
    }
    return {};
}

std::optional<StoreType> ParseStoreTypeName(std::string_view name) noexcept {
    for (auto const& [type, candidate] : c_names) {
        if (candidate == name) {
            return type;
        }
    }
    return std::nullopt;
}

}  // namespace zel::core
