#pragma once

namespace zev {

template <class InType, class OutType>
struct TableTypes {
    using In = InType;
    using Out = OutType;
};

/// Calls `visit(TableTypes<In, Out>())` for the types of the given bits per pixel and returns its result:
/// below 9 is 8 bits, 9 to 16 is 16, 17 to 32 is 32. Returns `otherwise` where no band fits.
template <class Result, class Visit>
Result VisitTableTypes(int inputDepth, int outputDepth, bool isSigned, Result otherwise, Visit visit) {
    const auto withOut = [&](auto outZero) -> Result {
        using Out = decltype(outZero);
        if (inputDepth < 9) {
            return isSigned ? visit(TableTypes<signed char, Out>()) : visit(TableTypes<unsigned char, Out>());
        }
        if (inputDepth < 17)
            return isSigned ? visit(TableTypes<short, Out>()) : visit(TableTypes<unsigned short, Out>());
        if (inputDepth < 33)
            return isSigned ? visit(TableTypes<int, Out>()) : visit(TableTypes<unsigned int, Out>());
        return otherwise;
    };
    if (outputDepth < 9) return withOut(static_cast<unsigned char>(0));
    if (outputDepth < 17) return withOut(static_cast<unsigned short>(0));
    if (outputDepth < 33) return withOut(0u);
    return otherwise;
}

}  // namespace zev
