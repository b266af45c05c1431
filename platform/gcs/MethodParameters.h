// Which parameters and option bits each projection method reads.
#pragma once
#include <cstdint>

#include "gcs/ProjectionDef.h"

namespace gcs {

// Whether the method's formulas read the parameter, given its option bits (the polar
// stereographic forms read different values from the oblique one). Parameters a method does
// not read carry no meaning for it, so comparisons skip them. Method and Option are always
// read. Geographic reads none: its ellipsoid is the datum's, and its LinearScale (the axis
// unit) says how coordinates are written, not where they are. Unknown reads them all.
bool MethodUsesParameter(ProjectionMethod method, int32_t option, ProjectionParameterID id);

// The ProjectionOption bits that mean something to the method; it ignores the others.
int32_t MethodOptionBits(ProjectionMethod method);

} // namespace gcs
