#pragma once

// FilterHandler<In>: the handler of Filter, which keeps the rows of a column (or of the table the
// column lies in) for which a registered predicate holds. The work has two phases: the blocks run
// the predicate into a column of Bool, in parallel when the predicate allows; then, on one thread,
// EndTransform collects the kept row numbers and gathers them once, from the column or from the
// whole table (a flat column of numbers is compacted in one pass instead, without the row list). A predicate
// that keeps every row costs no gather: the input itself is the result.
//
// The special of a predicate's result has no meaning here: a row is kept or dropped by the value
// the predicate returned beside it.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <numeric>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "transform/flatdata/FlatDataHandler.h"
#include "transform/flatdata/LogicalStorage.h"
#include "zel/core/functions/ZelFunctions.h"
#include "zel/core/store/ArrayFactory.h"
#include "zel/core/store/IStoreArray.h"
#include "zel/core/store/IStoreTable.h"
#include "zel/core/store/ITypedArray.h"
#include "zel/core/utility/ZelCheck.h"
#include "zel/vm/transform/RawData.h"

namespace zel::vm {

// How many bytes of `keep` are not 0: the rows a selection keeps. Every block of a Filter counts
// its bytes, so on x86-64 sixteen are counted at once: each is cut to 0 or 1 and summed with the
// sum-of-absolute-differences instruction, which the compiler does not find by itself.
inline std::size_t CountKept(std::span<unsigned char const> keep) {
    std::size_t row = 0;
    std::size_t kept = 0;
#if defined(__SSE2__)
    __m128i const one = _mm_set1_epi8(1);
    __m128i sums = _mm_setzero_si128();
    for (; row + 16 <= keep.size(); row += 16) {
        __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(keep.data() + row));
        sums = _mm_add_epi64(sums, _mm_sad_epu8(_mm_min_epu8(bytes, one), _mm_setzero_si128()));
    }
    kept = static_cast<std::size_t>(_mm_cvtsi128_si64(sums)) +
           static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
#endif
    for (; row < keep.size(); ++row) {
        kept += keep[row] != 0 ? 1 : 0;
    }
    return kept;
}

// The numbers of the `kept` rows whose byte is not 0, in ascending order. The loop writes every
// row number and advances only past a kept one, so it has no branch on the data; one slot more
// than the kept rows takes the write after the last one.
inline std::vector<unsigned int> KeptRows(std::span<unsigned char const> keep, std::size_t kept) {
    std::vector<unsigned int> rows(kept + 1);
    unsigned int* const out = rows.data();
    std::size_t next = 0;
    for (std::size_t row = 0; row < keep.size(); ++row) {
        out[next] = static_cast<unsigned int>(row);
        next += keep[row] != 0 ? 1 : 0;
    }
    rows.resize(kept);
    return rows;
}

// The `kept` values of a flat column of fixed-width values without specials whose byte is not 0,
// copied in one branch-free pass with no list of row numbers between; null for any other column,
// which goes through a gather.
template <class T>
std::shared_ptr<core::StoreValue> CompactFlatColumn(core::StoreValue const& column,
                                                    std::span<unsigned char const> keep, std::size_t kept) {
    if constexpr (!std::is_trivially_copyable_v<T>) {
        return nullptr;
    } else {
        auto const& array = column.AsTypedArray<T>();
        if (array.GetLayout() != core::ArrayLayout::Flat || array.HasSpecialValues() ||
            array.GetCount() != keep.size()) {
            return nullptr;
        }
        T const* const in = array.GetFlatValues().data();
        auto values = std::make_unique<core::HugePageVector<T>>(kept + 1);
        T* const out = values->data();
        std::size_t next = 0;
        for (std::size_t row = 0; row < keep.size(); ++row) {
            out[next] = in[row];
            next += keep[row] != 0 ? 1 : 0;
        }
        values->resize(kept);
        return core::factory::MakeArray<T>(array.GetElementTypeInfo(), core::StoreTypeInfo::Empty,
                                           std::move(values), nullptr);
    }
}

template <core::LogicalType In>
class FilterHandler final : public FlatDataHandler<StorageOf<In>> {
public:
    using InStorage = StorageOf<In>;
    using Functions = core::ZelFunctions<In, bool>;

    FilterHandler(bool makeTable, core::KeyPath inputPath, Functions functions,
                  std::unique_ptr<CreatorValues> creatorValues)
        : m_creatorValues(std::move(creatorValues)),
          m_inputPath(std::move(inputPath)),
          m_makeTable(makeTable),
          m_functions(std::move(functions)) {}

    void AddInputPaths(std::vector<core::KeyPath>& paths) const override {
        if (m_creatorValues) {
            m_creatorValues->GetKeys(paths);
        }
        if (m_makeTable) {
            paths.push_back(m_inputPath.GetParent());
        }
    }
    core::OperatorType GetOperatorType() const override { return core::OperatorType::Filter; }
    std::unique_ptr<FlatDataHandler<InStorage>> Clone() const override {
        return std::make_unique<FilterHandler>(m_makeTable, m_inputPath, m_functions,
                                               CloneCreatorValues(m_creatorValues.get()));
    }
    FlatDataDirection GetDirection() const override { return FlatDataDirection::Forwards; }
    bool ExpandsSetInput() const override { return true; }
    bool UseSpecialFunction(bool inputHasSpecials) const override {
        return m_functions.UseSpecialFunction(inputHasSpecials);
    }
    bool CanRunInParallel() const override { return !m_functions.IsStateful(); }
    bool CanUseConstantShortcut() const override { return !m_functions.IsStateful(); }
    // A selection needs the whole column: a range of it would select into rows it does not own.
    bool CanTransformPartialRange() const override { return false; }

    std::unique_ptr<RawData> MakeRawData(core::StoreType, unsigned int count) const override {
        // Only the Bool bytes are read at the end. A predicate that writes every slot leaves the
        // buffer untouched until its blocks first-touch their rows; any other may skip rows, whose
        // bytes must then read as "dropped".
        RawDataRows const rows =
            m_functions.WritesEverySlot() ? RawDataRows::WrittenByTheWork : RawDataRows::Filled;
        return std::make_unique<TypedRawData<unsigned char>>(
            core::StoreTypeInfo::Array, core::StoreTypeInfo::Bool, core::StoreTypeInfo::Empty, count, rows);
    }

    void BeginTransform(TransformValues const& inputs, bool useSpecial) override {
        m_kept.store(0, std::memory_order_relaxed);
        CreatorArguments const arguments =
            m_creatorValues ? m_creatorValues->GetValues(inputs) : core::CreatorArguments{};
        if (useSpecial) {
            m_specialFunction = m_functions.MakeSpecialFunctionFor(&arguments);
        } else {
            m_regularFunction = m_functions.MakeRegularFunctionFor(&arguments);
        }
    }

    void EndPartialTransform(RawDataView&) override { ZEL_FAIL(core::ZelError::UnsupportedOperation); }

    std::shared_ptr<core::StoreValue> EndTransform(TransformValues const& inputs,
                                                   std::shared_ptr<core::StoreValue> const& input,
                                                   RawData& rawData) override {
        DropFunctions();
        auto const& bytes = static_cast<TypedRawData<unsigned char>&>(rawData).GetValues();
        std::span<unsigned char const> const keep{bytes.data(), bytes.size()};
        // Every row's byte was written (or filled with 0) and counted by the block that wrote it.
        std::size_t const kept = m_kept.load(std::memory_order_acquire);
        std::shared_ptr<core::StoreValue> const& source = inputs.GetValue(m_inputPath);
        if (!input->AsArray().HasIndirectValues() && kept == source->GetCount()) {
            return Unfiltered(inputs, source);
        }
        std::shared_ptr<core::StoreValue> selected =
            m_makeTable ? nullptr : CompactFlatColumn<InStorage>(*input, keep, kept);
        if (!selected) {
            selected = Select(inputs, *input, KeptRows(keep, kept));
        }
        if (source->GetStoreType() == core::StoreType::Set) {
            // The members of a Set stay distinct after a selection; the value becomes a Set again.
            selected = selected->AsArray().MakeDistinct(true);
        }
        return selected;
    }

    std::shared_ptr<core::StoreValue> TransformConstant(TransformValues const& inputs, InStorage const& value,
                                                        core::SpecialKind special, unsigned int) override {
        bool const useSpecial = UseSpecialFunction(special != core::SpecialKind::None);
        BeginTransform(inputs, useSpecial);
        bool const keep = useSpecial ? m_specialFunction->Call(ToLogical<In>(value), special).first
                                     : m_regularFunction->Call(ToLogical<In>(value));
        DropFunctions();
        std::shared_ptr<core::StoreValue> const& source = inputs.GetValue(m_inputPath);
        if (keep) {
            return Unfiltered(inputs, source);
        }
        // Nothing kept: the empty selection of the column's own shape. A Set comes out as an
        // empty array on this path, not as a Set.
        return Select(inputs, *source, {});
    }

    void TransformConstantOverRange(TransformValues const&, InStorage const&, core::SpecialKind,
                                    RawDataView) override {
        ZEL_FAIL(core::ZelError::UnsupportedOperation);
    }

    void TransformValueWithSpecial(InStorage const& value, core::SpecialKind special, RawDataView view,
                                   unsigned int row) override {
        bool const keep = m_specialFunction->Call(ToLogical<In>(value), special).first;
        *static_cast<unsigned char*>(view.GetElementAt(row)) = ToStorage<bool>(keep);
        m_kept.fetch_add(keep ? 1 : 0, std::memory_order_relaxed);
    }

    void TransformValue(InStorage const& value, RawDataView view, unsigned int row) override {
        bool const keep = m_regularFunction->Call(ToLogical<In>(value));
        *static_cast<unsigned char*>(view.GetElementAt(row)) = ToStorage<bool>(keep);
        m_kept.fetch_add(keep ? 1 : 0, std::memory_order_relaxed);
    }

    void TransformBlockWithSpecials(core::ArrayView<InStorage const> values,
                                    core::ArrayView<core::SpecialKind const> specials, RawDataView view,
                                    unsigned int row) override {
        // The result's specials are written but never read: the flag stays down.
        RawDataView const block = view.SubView(row, values.size());
        std::span<unsigned char> const out = block.GetElements<unsigned char>();
        m_specialFunction->CallBlock(AsLogicalSpan<In>(values.data(), values.size()),
                                     std::span<core::SpecialKind const>(specials.data(), specials.size()),
                                     AsLogicalSpan<bool>(out.data(), out.size()), block.GetSpecialSpan());
        m_kept.fetch_add(CountKept(out), std::memory_order_relaxed);
    }

    void TransformBlock(core::ArrayView<InStorage const> values, RawDataView view,
                        unsigned int row) override {
        RawDataView const block = view.SubView(row, values.size());
        std::span<unsigned char> const out = block.GetElements<unsigned char>();
        m_regularFunction->CallBlock(AsLogicalSpan<In>(values.data(), values.size()),
                                     AsLogicalSpan<bool>(out.data(), out.size()));
        // Counted while the block is in cache, so that the end needs no pass over the bytes.
        m_kept.fetch_add(CountKept(out), std::memory_order_relaxed);
    }

private:
    using CreatorArguments = core::CreatorArguments;

    // Every row kept: the input itself, or the table around it. No copy is made.
    std::shared_ptr<core::StoreValue> Unfiltered(TransformValues const& inputs,
                                                 std::shared_ptr<core::StoreValue> const& source) const {
        return m_makeTable ? inputs.GetValue(m_inputPath.GetParent()) : source;
    }

    // The rows `rows` of the table around the column, or of `column`, gathered once.
    std::shared_ptr<core::StoreValue> Select(TransformValues const& inputs, core::StoreValue const& column,
                                             std::vector<unsigned int> rows) const {
        auto shared = std::make_shared<std::vector<unsigned int>>(std::move(rows));
        if (m_makeTable) {
            return inputs.GetValue(m_inputPath.GetParent())->AsTable().GatherRows(std::move(shared));
        }
        return column.AsArray().Gather(shared);
    }

    void DropFunctions() noexcept {
        m_regularFunction.reset();
        m_specialFunction.reset();
    }

    std::unique_ptr<CreatorValues> m_creatorValues;
    core::KeyPath m_inputPath;
    bool m_makeTable;
    Functions m_functions;
    std::unique_ptr<typename Functions::RegularFunction> m_regularFunction;
    std::unique_ptr<typename Functions::SpecialFunction> m_specialFunction;
    // The rows kept so far in this run, added to by every block, on whichever thread runs it.
    std::atomic<std::size_t> m_kept{0};
};

}  // namespace zel::vm
