// The families that have rows, one file each.
#pragma once

#include "harness/row.h"

namespace bench {

void frameRows(Rows& rows);
void elementwiseRows(Rows& rows);
void productRows(Rows& rows);
void vectorRows(Rows& rows);
void movementRows(Rows& rows);
void reductionRows(Rows& rows);
void geometryRows(Rows& rows);
void generalEigenproblemRows(Rows& rows);
void symmetricEigenproblemRows(Rows& rows);
void luRows(Rows& rows);
void choleskyRows(Rows& rows);
void qrRows(Rows& rows);
void determinantRows(Rows& rows);
void inverseRows(Rows& rows);

} // namespace bench
