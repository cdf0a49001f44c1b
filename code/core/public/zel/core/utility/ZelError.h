#pragma once

#pragma GCC visibility push(default)

#include <cstdint>
#include <string_view>

namespace zel::core {

// Every failure of the system carries one of these numbers. The list is an X-macro so that the
// enumeration and the names printed in messages cannot drift apart.
//
// 213 to 260 are the shape checks of the operator spec views, named SpecError<number>. From 1000
// on are the failures of the companion libraries' own input: bad arguments to factories, key path
// text, collation names, store documents and VTL programs.
#define ZEL_ERROR_LIST(X)            \
    X(LogicFailure, 0)               \
    X(UnsupportedOperation, 1)       \
    X(RangeViolation, 2)             \
    X(IteratorViolation, 3)          \
    X(UnknownOperator, 6)            \
    X(UnsortableType, 40)            \
    X(KeySetNeedsArrays, 69)         \
    X(RawDataTypeInvalid, 70)        \
    X(KeySetValuesHaveSpecials, 93)  \
    X(KeySetLengthMismatch, 105)     \
    X(DuplicateKey, 111)             \
    X(FunctionMissing, 123)          \
    X(FunctionTypeMismatch, 125)     \
    X(FunctionKindMismatch, 126)     \
    X(SetValueFunctionMissing, 131)  \
    X(FunctionNotCreator, 137)       \
    X(FunctionIsCreator, 138)        \
    X(UnsupportedTypes, 185)         \
    X(SpecError213, 213)             \
    X(SpecError214, 214)             \
    X(SpecError215, 215)             \
    X(SpecError216, 216)             \
    X(SpecError217, 217)             \
    X(SpecError218, 218)             \
    X(SpecError219, 219)             \
    X(SpecError220, 220)             \
    X(SpecError222, 222)             \
    X(SpecError223, 223)             \
    X(SpecError224, 224)             \
    X(SpecError225, 225)             \
    X(SpecError226, 226)             \
    X(SpecError228, 228)             \
    X(SpecError229, 229)             \
    X(SpecError232, 232)             \
    X(SpecError233, 233)             \
    X(SpecError234, 234)             \
    X(SpecError235, 235)             \
    X(SpecError243, 243)             \
    X(SpecError244, 244)             \
    X(SpecError246, 246)             \
    X(SpecError250, 250)             \
    X(SpecError251, 251)             \
    X(SpecError252, 252)             \
    X(SpecError253, 253)             \
    X(SpecError254, 254)             \
    X(SpecError255, 255)             \
    X(SpecError260, 260)             \
    X(CreateTableFailure, 268)       \
    X(SortInputInvalid, 275)         \
    X(IndexInputInvalid, 313)        \
    X(JoinTypeMismatch, 336)         \
    X(JoinFailure, 338)              \
    X(JoinTypeUnsupported, 339)      \
    X(KeySetKeyTypeUnsupported, 341) \
    X(CreateTableInputInvalid, 342)  \
    X(CreatorArgumentEmpty, 348)     \
    X(DuplicateColumnName, 351)      \
    X(KeyNotFound, 352)              \
    X(KeyMapInputsInvalid, 353)      \
    X(GraphNotComplete, 357)         \
    X(NotInitialPath, 363)           \
    X(InitialPathTooShort, 364)      \
    X(AlreadyInitialPath, 365)       \
    X(OperatorNotMaterialised, 366)  \
    X(DuplicateNode, 372)            \
    X(GraphShapeInvalid, 374)        \
    X(EdgeSourceMissing, 375)        \
    X(EdgeSinkMissing, 376)          \
    X(BufferNotReadable, 377)        \
    X(InitialKeyExpected, 378)       \
    X(DuplicateBuffer, 379)          \
    X(InvalidArgument, 1000)         \
    X(KeyPathSyntaxError, 1001)      \
    X(UnknownCollation, 1002)        \
    X(StoreFormatError, 1003)        \
    X(VtlSyntaxError, 1004)          \
    X(VtlProgramError, 1005)         \
    X(InputTypeMismatch, 1006)       \
    X(OutputTypeMismatch, 1007)

enum class ZelError : std::uint32_t {
#define ZEL_ERROR_ENUMERATOR(name, number) name = number,
    ZEL_ERROR_LIST(ZEL_ERROR_ENUMERATOR)
#undef ZEL_ERROR_ENUMERATOR

    // Second names: 216 is also the code of an operator that has no transform of its own; 351 and
    // 352 are also the row-count checks of table creation.
    OperatorHasNoTransform = 216,
    CreateTableRowCountMismatch = 351,
    CreateTableRowCountMismatch352 = 352,
};

// The name of a listed code ("UnsupportedTypes"), or an empty view for a number outside the list.
std::string_view ZelErrorName(ZelError error) noexcept;

constexpr std::uint32_t ZelErrorNumber(ZelError error) noexcept {
    return static_cast<std::uint32_t>(error);
}

}  // namespace zel::core

#pragma GCC visibility pop
