#include "zel/core/store/StoreTypeInfo.h"

namespace zel::core {

// Constants of other translation units must not be read during static initialisation; code that
// needs a type at that time builds its own StoreTypeInfo.
StoreTypeInfo const StoreTypeInfo::Array(StoreType::Array, false);
StoreTypeInfo const StoreTypeInfo::Set(StoreType::Set, false);
StoreTypeInfo const StoreTypeInfo::Tuple(StoreType::Tuple, false);
StoreTypeInfo const StoreTypeInfo::KeyMap(StoreType::KeyMap, false);
StoreTypeInfo const StoreTypeInfo::Table(StoreType::Table, false);
StoreTypeInfo const StoreTypeInfo::Bool(StoreType::Bool, false);
StoreTypeInfo const StoreTypeInfo::Int32(StoreType::Int32, false);
StoreTypeInfo const StoreTypeInfo::Int64(StoreType::Int64, false);
StoreTypeInfo const StoreTypeInfo::Float(StoreType::Float, false);
StoreTypeInfo const StoreTypeInfo::Double(StoreType::Double, false);
StoreTypeInfo const StoreTypeInfo::String(StoreType::String, false, Collation::Binary());
StoreTypeInfo const StoreTypeInfo::Date(StoreType::Date, false);
StoreTypeInfo const StoreTypeInfo::DateTime(StoreType::DateTime, false);
StoreTypeInfo const StoreTypeInfo::Color(StoreType::Color, false);
StoreTypeInfo const StoreTypeInfo::Object(StoreType::Object, false);
StoreTypeInfo const StoreTypeInfo::Empty;

}  // namespace zel::core
