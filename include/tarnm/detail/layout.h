// The three ways in which objects lie in memory.
#ifndef TARNM_DETAIL_LAYOUT_H
#define TARNM_DETAIL_LAYOUT_H

namespace tarnm {

enum class layout {
    strided, // one base pointer; bytes from object to object, row to row, element to element
    list,    // one pointer per object
    elements // one pointer per element of an object; bytes from object to object
};

} // namespace tarnm

#endif
