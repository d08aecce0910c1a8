// On Windows: the component library of a test program.

#include <refhost/Com.h>

namespace {

const refhost::ComApartment s_Apartment;

}  // namespace
