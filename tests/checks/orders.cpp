#include "checks/orders.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>

namespace tarnm::test {
namespace {

struct Orders {
    const char* single;           // one object, strides
    const char* singleOfElements; // one object, tables of elements
    const char* array;
    const char* list;
    const char* arrayOfElements;
};

const Orders general = {"N Z S", "N Z R", "N C Z S", "N C Z S R", "N C Z S R"};
const Orders stridesBeforeSizes = {"", "", "N C S Z", "N C Z S R", "N C Z S R"};
const Orders countLast = {"", "", "N Z S C", "N Z S R C", "N Z S C R"};
const Orders crossProduct = {"N S", "N R", "N C S", "N C S R", "N C S R"};
const Orders crossProductCountLast = {"", "", "N S C", "N S R C", "N S C R"};
const Orders products = {"N Z M S", "N Z M R", "N C Z M S", "N C Z M S R", "N C Z M S R"};
const Orders orthogonal = {"N Z S M", "N Z R M", "N C Z S M", "N C Z S R M", "N C Z S R M"};
const Orders listOfRightSides = {"", "", "N C Z S", "N S R Z C", "N C Z S R"};
const Orders extract = {"N Z S", "Z N R", "N Z C S", "N Z C R S", "N Z C R S"};
const Orders eigenvalues = {"N Z S", "N Z R", "N Z C S", "N Z C R S", "N Z C R S"};
const Orders eigenvectors = {"N Z S", "N Z R", "N Z C S", "N Z C Rs Ss Rd Sd", "N Z C Rs Ss Rd Sd"};
const Orders identity = {"", "", "N Z C S O", "N Z C S R", "N Z C R O"};

const std::map<std::string_view, const char*> copies = {
    {"SS", "N Z C S O"},   {"SL", "N Z C S R O"}, {"SP", "N Z C S R O"}, {"LS", "N Z C S R O"}, {"LL", "N Z C S R"},
    {"LP", "N Z C S R O"}, {"PS", "N Z C S R O"}, {"PL", "N Z C S R O"}, {"PP", "N Z C R O"}};

const std::set<std::string_view> ofGeneralOrder = {
    "Add",   "Sub",      "Det",    "Invert", "LUDecomp", "LUBackSubst", "CholeskyDecomp", "CholeskyBackSubst",
    "Trace", "FrobNorm", "L2Norm", "LComb",  "Mul",      "DotProduct",  "Saxpy",          "Transpose"};

bool isFixedForm(std::string_view code) { return code.find_first_of("234") != code.npos; }

const Orders& ordersOf(const Name& name)
{
    const auto operation = name.operation, code = name.code;
    const bool additive = operation == "Add" || operation == "Sub";
    if (additive && code == "vav") return countLast;
    if ((additive && code == "mam") || (operation == "Sub" && code == "mma")) return stridesBeforeSizes;
    if (operation == "CrossProduct") return code == "vav" ? crossProductCountLast : crossProduct;
    if (operation == "Gaxpy") return products;
    if (operation == "Mul" && code.find('c') == code.npos) return products;
    if (operation == "QRDecomp" || operation == "QRBackSubst") return orthogonal;
    if (operation == "CholeskyBackSubst" && code == "mva") return listOfRightSides;
    if (operation == "Extract") return extract;
    if (operation == "EigenValues" || operation == "EigenValuesSym" || operation == "EigenValuesVectorsSym")
        return eigenvalues;
    if (operation == "EigenValuesVectors" || operation == "EigenValuesVectorsLeft" ||
        operation == "EigenValuesVectorsRight")
        return eigenvectors;
    if (operation == "LoadIdentity") return identity;
    if (ofGeneralOrder.contains(operation)) return general;
    throw std::invalid_argument("no order of checks for " + std::string(operation));
}

} // namespace

std::string orderOfChecks(const Name& name)
{
    const auto operation = name.operation, code = name.code, type = name.type, layout = name.layout;
    if (operation == "EigenValuesGetBufSize" || operation == "EigenValuesVectorsGetBufSize") return "N Z";
    if (operation == "AffineTransform3DH") return "N C S";
    if (code == "mm4x4") return "N";
    if (isFixedForm(code)) return "";
    if (operation == "Copy") {
        if (code == "va" && type == "32f" && (layout == "SP" || layout == "LP")) return "N Z C R S O";
        return copies.at(layout);
    }
    if (operation == "Extract" && code == "v" && type == "32f" && layout == "P") return "N Z R";
    if (operation == "LoadIdentity" && type == "32f" && layout == "P") return "N Z R C O";

    const Orders& orders = ordersOf(name);
    const bool isArray = code.find('a') != code.npos;
    if (layout == "S") return isArray ? orders.array : orders.single;
    if (layout == "L") return orders.list;
    return isArray ? orders.arrayOfElements : orders.singleOfElements;
}

bool isDeliberateGap(const Name& name, std::string_view argument)
{
    if (name.layout != "P") return false;
    const bool bothShifts = (name.operation == "Add" && name.code == "vca" && name.type == "64f") ||
                            (name.operation == "Sub" && name.code == "cav" && name.type == "32f");
    if (bothShifts) return argument == "srcRoiShift" || argument == "dstRoiShift";
    return name.operation == "Add" && name.code == "vaca" && name.type == "32f" && argument == "srcObjectStride";
}

} // namespace tarnm::test
