#include "zel/core/store/StoreValueFactory.h"

#include "CompositeValues.h"
#include "ScalarValue.h"
#include "StoreFailure.h"

namespace zel::core::factory {

namespace {

template <StoreType Type>
std::shared_ptr<StoreValue> Make(StoreTypeInfo const& type,
                                 typename ScalarTraits<Type>::Logical const& value) {
    return std::make_shared<ScalarValue<Type>>(type, ScalarTraits<Type>::ToStorage(value));
}

}  // namespace

std::shared_ptr<StoreValue> MakeBool(bool value) {
    return Make<StoreType::Bool>(StoreTypeInfo::Bool, value);
}

std::shared_ptr<StoreValue> MakeInt32(int value) {
    return Make<StoreType::Int32>(StoreTypeInfo::Int32, value);
}

std::shared_ptr<StoreValue> MakeInt64(long long value) {
    return Make<StoreType::Int64>(StoreTypeInfo::Int64, value);
}

std::shared_ptr<StoreValue> MakeFloat(float value) {
    return Make<StoreType::Float>(StoreTypeInfo::Float, value);
}

std::shared_ptr<StoreValue> MakeDouble(double value) {
    return Make<StoreType::Double>(StoreTypeInfo::Double, value);
}

std::shared_ptr<StoreValue> MakeString(TStringCore const& value) {
    return Make<StoreType::String>(StoreTypeInfo::String, RIndirectString(value));
}

std::shared_ptr<StoreValue> MakeString(wchar_t const* value) {
    return MakeString(TStringCore(value));
}

std::shared_ptr<StoreValue> MakeString(TStringCore const& value, Collation const& collation) {
    return std::make_shared<ScalarValue<StoreType::String>>(
        StoreTypeInfo(StoreType::String, false, collation), RIndirectString(value));
}

std::shared_ptr<StoreValue> MakeDate(ZelDateTime value) {
    return Make<StoreType::Date>(StoreTypeInfo::Date, value);
}

std::shared_ptr<StoreValue> MakeDateTime(ZelDateTime value) {
    return Make<StoreType::DateTime>(StoreTypeInfo::DateTime, value);
}

std::shared_ptr<StoreValue> MakeColor(ZelColor value) {
    return Make<StoreType::Color>(StoreTypeInfo::Color, value);
}

std::shared_ptr<StoreValue> MakeObject(std::shared_ptr<StoreValue> value) {
    return std::make_shared<ScalarValue<StoreType::Object>>(StoreTypeInfo::Object, std::move(value));
}

std::shared_ptr<StoreValue> MakeSpecial(StoreTypeInfo const& type, SpecialKind kind) {
    if (kind == SpecialKind::None) {
        ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument, L"a special of type " + detail::DescribeTypeInfo(type) +
                                                          L" needs a kind other than 0");
    }
    if (type.IsEmpty()) {
        ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument, L"a special needs a type");
    }
    return std::make_shared<SpecialValue>(type, kind);
}

std::shared_ptr<StoreValue> MakeTuple(std::vector<std::shared_ptr<StoreValue>>&& elements) {
    return std::make_shared<TupleValue>(std::move(elements));
}

std::shared_ptr<StoreValue> MakeKeyMap(StoreValueMap&& entries) {
    for (auto const& [name, value] : entries) {
        if (!value) {
            ZEL_FAIL_WITH_TEXT(ZelError::InvalidArgument, L"key map entry \"" + name + L"\" has no value");
        }
    }
    return std::make_shared<KeyMapValue>(std::move(entries));
}

std::shared_ptr<StoreValue> MakeKeyMap(std::unique_ptr<StoreValueMap> entries) {
    return MakeKeyMap(entries ? std::move(*entries) : StoreValueMap());
}

}  // namespace zel::core::factory
