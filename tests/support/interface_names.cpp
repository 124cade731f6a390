#include "support/interface_names.h"

#include <sstream>

namespace tarnm::test {
namespace {

struct Family {
    const char* operation;
    const char* singleCodes; // layouts S and P
    const char* arrayCodes;  // layouts S, L and P
    const char* fixedCodes;  // one member in single precision
};

const Family families[] = {
    {"Add", "vv vc mm tm tt", "vav vava vac vca vaca mam mama mat tam tama tat tata", "v2 v3 v4"},
    {"Sub", "vv vc cv mm mt tm tt",
     "vav vva vava vac vca vaca cav cva cava mam mma mama mat mata mta tam tama tat tata tma tta", "v2 v3 v4"},
    {"Mul", "vc mc tc mv tv mm mt tm tt",
     "vac vca vaca mac tac mav mava mva tav tava tva mam mama mat mata mma mta tam tama tat tata tma tta", "mm4x4"},
    {"CrossProduct", "vv", "vav vava vva", "v2 v3 v4"},
    {"Saxpy", "vv", "vav vava vva", ""},
    {"DotProduct", "vv", "vav vava", "v2 v3 v4"},
    {"LComb", "vv", "vav vava", ""},
    {"Gaxpy", "mv", "mva mvav", ""},
    {"L2Norm", "v", "va", ""},
    {"FrobNorm", "m", "ma", ""},
    {"Trace", "m", "ma", ""},
    {"Det", "m", "ma", "m4"},
    {"Invert", "m", "ma", "m4"},
    {"Transpose", "m", "ma", "m4"},
    {"LUDecomp", "m", "ma", ""},
    {"CholeskyDecomp", "m", "ma", ""},
    {"QRDecomp", "m", "ma", ""},
    {"EigenValues", "m", "ma", ""},
    {"EigenValuesSym", "m", "ma", ""},
    {"EigenValuesVectors", "m", "ma", ""},
    {"EigenValuesVectorsLeft", "m", "ma", ""},
    {"EigenValuesVectorsRight", "m", "ma", ""},
    {"EigenValuesVectorsSym", "m", "ma", ""},
    {"LUBackSubst", "mv", "mva mava", ""},
    {"CholeskyBackSubst", "mv", "mva mava", ""},
    {"QRBackSubst", "mv", "mva mava", ""},
    {"Extract", "v m t", "va ma ta", ""},
    {"LoadIdentity", "", "ma", ""},
    // The geometry kit.
    {"AffineTransform", "", "", "m4v2 m4v2a m4v3 m4v3a m4v4 m4v4a"},
    {"AffineTransform3DH", "", "", "mva"},
    {"AffineTransformCoord", "", "", "m4v2 m4v2a m4v3 m4v3a"},
    {"AffineTransformNormal", "", "", "m4v2 m4v2a m4v3 m4v3a"},
    {"BaryCentric", "", "", "v2 v3 v4"},
    {"Hermite", "", "", "v2 v3 v4"},
    {"InterpolationCatmullRom", "", "", "v2 v3 v4"},
    {"InterpolationLinear", "", "", "v2 v3 v4"},
    {"Identity", "", "", "m4"},
    {"IsIdentity", "", "", "m4"},
    {"MulTranspose", "", "", "m4"},
    {"Len", "", "", "v2 v3 v4"},
    {"LenSqr", "", "", "v2 v3 v4"},
    {"Normalize", "", "", "v2 v3 v4"},
    {"Max", "", "", "v2 v3 v4"},
    {"Min", "", "", "v2 v3 v4"},
    {"MulC", "", "", "v2 v3 v4"},
    {"LookAtLH", "", "", "m4"},
    {"LookAtRH", "", "", "m4"},
    {"OrthoLH", "", "", "m4"},
    {"OrthoRH", "", "", "m4"},
    {"OrthoOffCenterLH", "", "", "m4"},
    {"OrthoOffCenterRH", "", "", "m4"},
    {"PerspectiveLH", "", "", "m4"},
    {"PerspectiveRH", "", "", "m4"},
    {"PerspectiveFovLH", "", "", "m4"},
    {"PerspectiveFovRH", "", "", "m4"},
    {"PerspectiveOffCenterLH", "", "", "m4"},
    {"PerspectiveOffCenterRH", "", "", "m4"},
    {"Project", "", "", "m4v3 m4v3a"},
    {"Unproject", "", "", "m4v3 m4v3a"},
    {"RotationAxis", "", "", "v3m4"},
    {"RotationX", "", "", "m4"},
    {"RotationY", "", "", "m4"},
    {"RotationZ", "", "", "m4"},
    {"RotationYawPitchRoll", "", "", "m4"},
    {"Scaling", "", "", "m4"},
    {"Translation", "", "", "m4"},
};

std::vector<std::string> words(const char* text)
{
    std::istringstream in(text);
    std::vector<std::string> found;
    for (std::string word; in >> word;)
        found.push_back(word);
    return found;
}

std::vector<InterfaceName> spellAll()
{
    std::vector<InterfaceName> names;
    const auto add = [&](const char* operation, const std::string& code, const char* layouts) {
        for (const char* type : {"32f", "64f"})
            for (const std::string& layout : words(layouts))
                names.push_back({operation, code, type, layout});
    };
    for (const Family& family : families) {
        for (const auto& code : words(family.singleCodes))
            add(family.operation, code, "S P");
        for (const auto& code : words(family.arrayCodes))
            add(family.operation, code, "S L P");
        for (const auto& code : words(family.fixedCodes))
            names.push_back({family.operation, code, "32f", "S"});
    }
    for (const char* code : {"va", "ma"})
        add("Copy", code, "SS SL SP LS LL LP PS PL PP");
    for (const char* query : {"EigenValuesGetBufSize", "EigenValuesVectorsGetBufSize"})
        add(query, "", "S");
    return names;
}

} // namespace

std::string InterfaceName::text() const
{
    return "tarnm" + operation + (code.empty() ? "" : "_" + code) + "_" + type + (layout == "S" ? "" : "_" + layout);
}

const std::vector<InterfaceName>& interfaceNames()
{
    static const std::vector<InterfaceName> names = spellAll();
    return names;
}

} // namespace tarnm::test
