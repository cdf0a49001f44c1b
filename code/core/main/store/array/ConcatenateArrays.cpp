// ConcatenateArrays: the elements of several arrays or sets one after another.

#include <string>

#include "store/StoreFailure.h"
#include "store/array/ArrayValue.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/StoreTypeDispatcher.h"

namespace zel::core {

namespace {

[[noreturn]] void FailConcatenate(std::string const& text) {
    detail::ThrowFactoryFailure(ZelError::UnsupportedTypes,
                                TStringCore::FromUtf8("ConcatenateArrays: " + text));
}

bool SameElementType(StoreTypeInfo const& a, StoreTypeInfo const& b) {
    return a.GetStoreType() == b.GetStoreType() && a.GetCollation() == b.GetCollation();
}

template <class T>
std::shared_ptr<StoreValue> Concatenate(std::vector<std::shared_ptr<StoreValue>> const& values,
                                        std::size_t total, bool anySpecials) {
    auto out = std::make_shared<HugePageVector<T>>(total);
    std::shared_ptr<HugePageVector<SpecialKind>> specials;
    if (anySpecials) {
        specials = std::make_shared<HugePageVector<SpecialKind>>(total);
    }
    std::size_t offset = 0;
    for (auto const& value : values) {
        unsigned int const count = value->GetCount();
        value->AsTypedArray<T>().CopyValues(ArrayView<T>(out->data() + offset, count), 0, count);
        if (specials) {
            value->AsArray().CopySpecials(ArrayView<SpecialKind>(specials->data() + offset, count), 0, count);
        }
        offset += count;
    }
    return detail::ArrayValue<T>::MakeFlat(values.front()->GetValueTypeInfo(),
                                           values.front()->GetChildTypeInfo(), std::move(out),
                                           std::move(specials));
}

}  // namespace

std::shared_ptr<StoreValue> ConcatenateArrays(std::vector<std::shared_ptr<StoreValue>> const& values,
                                              std::unique_ptr<std::vector<unsigned int>> rows) {
    if (values.empty()) {
        FailConcatenate("there is no array to concatenate");
    }
    bool allSets = true;
    bool anySpecials = false;
    std::size_t total = 0;
    for (std::size_t k = 0; k < values.size(); ++k) {
        StoreValue const* value = values[k].get();
        if (value == nullptr) {
            FailConcatenate("value " + std::to_string(k) + " is missing");
        }
        if (value->IsSpecial() || !IsUniformCollectionStoreType(value->GetStoreType())) {
            FailConcatenate("value " + std::to_string(k) + " is a " + detail::DescribeType(*value).ToUtf8() +
                            ", not an array or set");
        }
        if (!SameElementType(value->GetValueTypeInfo(), values.front()->GetValueTypeInfo())) {
            FailConcatenate("value " + std::to_string(k) + " is a " + detail::DescribeType(*value).ToUtf8() +
                            " and value 0 a " + detail::DescribeType(*values.front()).ToUtf8() +
                            "; their element types differ");
        }
        allSets = allSets && value->GetStoreType() == StoreType::Set;
        anySpecials = anySpecials || value->AsCollection().HasSpecialValues();
        total += value->GetCount();
    }
    if (total > 0xFFFFFFFFu) {
        detail::ThrowFactoryFailure(ZelError::RangeViolation,
                                    TStringCore::FromUtf8("ConcatenateArrays: " + std::to_string(total) +
                                                          " elements are more than an array can hold"));
    }

    std::shared_ptr<StoreValue> result;
    if (values.size() == 1 && values.front()->GetStoreType() == StoreType::Array) {
        result = values.front();  // values are immutable: one array is its own concatenation
    } else {
        auto const storage = GetStorageType(values.front()->GetValueTypeInfo().GetStoreType());
        if (!storage) {
            FailConcatenate("elements of type " +
                            detail::DescribeElementType(values.front()->GetValueTypeInfo()).ToUtf8() +
                            " have no storage");
        }
        result = StorageTypeDispatcher(
            *storage, [&]<class T>(StorageTag<T>) { return Concatenate<T>(values, total, anySpecials); });
    }
    if (rows) {
        result = result->AsArray().Gather(std::make_shared<std::vector<unsigned int>>(std::move(*rows)));
    }
    if (allSets) {
        result = result->AsArray().MakeDistinct(true);
    }
    return result;
}

}  // namespace zel::core
