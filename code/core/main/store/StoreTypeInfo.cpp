#include "zel/core/store/StoreTypeInfo.h"

namespace zel::core {

// constinit: no constant depends on the order of dynamic initialisation.
constinit StoreTypeInfo const StoreTypeInfo::Array(StoreType::Array, false);
constinit StoreTypeInfo const StoreTypeInfo::Set(StoreType::Set, false);
constinit StoreTypeInfo const StoreTypeInfo::Tuple(StoreType::Tuple, false);
constinit StoreTypeInfo const StoreTypeInfo::KeyMap(StoreType::KeyMap, false);
constinit StoreTypeInfo const StoreTypeInfo::Table(StoreType::Table, false);
constinit StoreTypeInfo const StoreTypeInfo::Bool(StoreType::Bool, false);
constinit StoreTypeInfo const StoreTypeInfo::Int32(StoreType::Int32, false);
constinit StoreTypeInfo const StoreTypeInfo::Int64(StoreType::Int64, false);
constinit StoreTypeInfo const StoreTypeInfo::Float(StoreType::Float, false);
constinit StoreTypeInfo const StoreTypeInfo::Double(StoreType::Double, false);
constinit StoreTypeInfo const StoreTypeInfo::String(StoreType::String, false);  // binary collation
constinit StoreTypeInfo const StoreTypeInfo::Date(StoreType::Date, false);
constinit StoreTypeInfo const StoreTypeInfo::DateTime(StoreType::DateTime, false);
constinit StoreTypeInfo const StoreTypeInfo::Color(StoreType::Color, false);
constinit StoreTypeInfo const StoreTypeInfo::Object(StoreType::Object, false);
constinit StoreTypeInfo const StoreTypeInfo::Empty;

}  // namespace zel::core
