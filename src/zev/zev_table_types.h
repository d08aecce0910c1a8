#pragma once

namespace zev {

/// Bits per pixel up to which an entry or a pixel is held in 8, 16 and 32 bits.
constexpr int kByteBits = 8;
constexpr int kWordBits = 16;
constexpr int kLongBits = 32;

template <class InType, class OutType>
struct TableTypes {
    using In = InType;
    using Out = OutType;
};

/// Calls `visit(TableTypes<In, Out>())` for the types of the given bits per pixel and returns its result;
/// `otherwise` for inputs of more than kMaxInput bits, which are not compiled, and outputs of more than 32.
template <int kMaxInput, class Result, class Visit>
Result VisitTableTypes(int inputDepth, int outputDepth, bool isSigned, Result otherwise, Visit visit) {
    const auto withOut = [&](auto outZero) -> Result {
        using Out = decltype(outZero);
        if (inputDepth <= kByteBits)
            return isSigned ? visit(TableTypes<signed char, Out>()) : visit(TableTypes<unsigned char, Out>());
        if (inputDepth <= kWordBits)
            return isSigned ? visit(TableTypes<short, Out>()) : visit(TableTypes<unsigned short, Out>());
        if constexpr (kMaxInput > kWordBits) {
            if (inputDepth <= kLongBits)
                return isSigned ? visit(TableTypes<int, Out>()) : visit(TableTypes<unsigned int, Out>());
        }
        return otherwise;
    };
    if (outputDepth <= kByteBits) return withOut(static_cast<unsigned char>(0));
    if (outputDepth <= kWordBits) return withOut(static_cast<unsigned short>(0));
    if (outputDepth <= kLongBits) return withOut(0u);
    return otherwise;
}

}  // namespace zev
