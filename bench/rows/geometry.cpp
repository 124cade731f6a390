// The geometry kit: arrays of points through one matrix, and single calls.
//
//   affine_m4v3a, coord_m4v3a     points through a 4x4 matrix, without and with the divide
//   mul_mm4x4, invert_m4, look_at, perspective_fov, normalize_v3, hermite_v3
//                                 one call for one object; the peers are inlined
//
// Our matrices act on rows and lie row by row, those of GLM and cglm act on columns and lie column by column: the same
// sixteen elements in memory are the same transform, and a product has its factors exchanged.
#include "rows/rows.h"

#ifdef BENCH_HAS_EIGEN
#include <Eigen/LU>
#endif
#ifdef BENCH_HAS_GLM
#define GLM_ENABLE_EXPERIMENTAL
#include <glm/ext/matrix_clip_space.hpp>
#include <glm/ext/matrix_transform.hpp>
#include <glm/glm.hpp>
#include <glm/gtx/spline.hpp>
#endif
#ifdef BENCH_HAS_CGLM
#include <cglm/cglm.h>
#include <cglm/clipspace/persp_rh_zo.h>
#endif

namespace bench {
namespace {

#define FIXED_MEMBER(name)                                                                                             \
    ::bench::Member<decltype(&name)> { #name }

#ifdef BENCH_HAS_GLM
template <class Object> Object& as(float* values) { return *reinterpret_cast<Object*>(values); }
template <class Object> const Object& as(const float* values) { return *reinterpret_cast<const Object*>(values); }
#endif
#ifdef BENCH_HAS_CGLM
vec4* columns(const float* matrix) { return reinterpret_cast<vec4*>(const_cast<float*>(matrix)); }
float* elements(const float* vector) { return const_cast<float*>(vector); }
#endif

// Four elements of every result, as the member gives them.
void affine(Row& row)
{
    const float* const m = row.one<float>(16);
    const float* const p = row.source<float>(3);
    float* const d = row.result<float>(4);
    row.flops(24);
    row.ours(FIXED_MEMBER(tarnmAffineTransform_m4v3a_32f),
             [=](auto transform, int count) { return transform(m, p, 12, d, 16, count); });
    row.peer("plain", [=](int first, int last) {
        for (int n = first; n < last; ++n)
            for (int j = 0; j < 4; ++j)
                d[4 * n + j] = p[3 * n] * m[j] + p[3 * n + 1] * m[4 + j] + p[3 * n + 2] * m[8 + j] + m[12 + j];
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen array", [=](int first, int last) {
        using Matrix = Eigen::Matrix<float, 4, 4>;
        const Matrix matrix = Eigen::Map<const Matrix>(m);
        using Sources = Eigen::Matrix<float, 3, Eigen::Dynamic>;
        using Results = Eigen::Matrix<float, 4, Eigen::Dynamic>;
        Eigen::Map<Results>(d + 4 * first, 4, last - first).noalias() =
            (matrix.leftCols<3>().lazyProduct(Eigen::Map<const Sources>(p + 3 * first, 3, last - first))).colwise() +
            matrix.col(3);
    });
    row.peer("Eigen objects", [=](int first, int last) {
        using Matrix = Eigen::Matrix<float, 4, 4>;
        const Matrix matrix = Eigen::Map<const Matrix>(m);
        for (int n = first; n < last; ++n)
            Eigen::Map<Eigen::Vector4f>(d + 4 * n) =
                matrix.leftCols<3>() * Eigen::Map<const Eigen::Vector3f>(p + 3 * n) + matrix.col(3);
    });
#endif
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int first, int last) {
        const glm::mat4 matrix = as<glm::mat4>(m);
        for (int n = first; n < last; ++n)
            as<glm::vec4>(d + 4 * n) = matrix * glm::vec4(as<glm::vec3>(p + 3 * n), 1);
    });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int first, int last) {
        for (int n = first; n < last; ++n) {
            vec4 point = {p[3 * n], p[3 * n + 1], p[3 * n + 2], 1};
            glm_mat4_mulv(columns(m), point, d + 4 * n);
        }
    });
#endif
}

void coord(Row& row)
{
    const float* const m = row.one<float>(16);
    const float* const p = row.source<float>(3);
    float* const d = row.result<float>(3);
    row.flops(27);
    row.tolerance(1e-2); // the fourth coordinate may cancel, and all three elements with it
    row.ours(FIXED_MEMBER(tarnmAffineTransformCoord_m4v3a_32f),
             [=](auto transform, int count) { return transform(m, p, 12, d, 12, count); });
    row.peer("plain", [=](int first, int last) {
        for (int n = first; n < last; ++n) {
            float sums[4];
            for (int j = 0; j < 4; ++j)
                sums[j] = p[3 * n] * m[j] + p[3 * n + 1] * m[4 + j] + p[3 * n + 2] * m[8 + j] + m[12 + j];
            for (int j = 0; j < 3; ++j)
                d[3 * n + j] = sums[j] / sums[3];
        }
    });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen objects", [=](int first, int last) {
        using Matrix = Eigen::Matrix<float, 4, 4>;
        const Matrix matrix = Eigen::Map<const Matrix>(m);
        for (int n = first; n < last; ++n) {
            const Eigen::Vector4f sums =
                matrix.leftCols<3>() * Eigen::Map<const Eigen::Vector3f>(p + 3 * n) + matrix.col(3);
            Eigen::Map<Eigen::Vector3f>(d + 3 * n) = sums.head<3>() / sums[3];
        }
    });
#endif
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int first, int last) {
        const glm::mat4 matrix = as<glm::mat4>(m);
        for (int n = first; n < last; ++n) {
            const glm::vec4 sums = matrix * glm::vec4(as<glm::vec3>(p + 3 * n), 1);
            as<glm::vec3>(d + 3 * n) = glm::vec3(sums) / sums.w;
        }
    });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int first, int last) {
        for (int n = first; n < last; ++n) {
            vec4 point = {p[3 * n], p[3 * n + 1], p[3 * n + 2], 1}, sums;
            glm_mat4_mulv(columns(m), point, sums);
            glm_vec3_divs(sums, sums[3], d + 3 * n);
        }
    });
#endif
}

void product(Row& row)
{
    const float* const a = row.source<float>(16);
    const float* const b = row.source<float>(16);
    float* const d = row.result<float>(16);
    row.flops(112);
    row.ours(FIXED_MEMBER(tarnmMul_mm4x4_32f), [=](auto multiply, int) { return multiply(a, b, d); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen", [=](int, int) {
        using Matrix = Eigen::Matrix<float, 4, 4, Eigen::RowMajor>;
        Eigen::Map<Matrix>(d).noalias() = Eigen::Map<const Matrix>(a) * Eigen::Map<const Matrix>(b);
    });
#endif
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int, int) { as<glm::mat4>(d) = as<glm::mat4>(b) * as<glm::mat4>(a); });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int, int) { glm_mat4_mul(columns(b), columns(a), columns(d)); });
#endif
}

void inverse(Row& row)
{
    const float* const a = row.source<float>(16);
    float* const d = row.result<float>(16);
    row.tolerance(1e-2); // against closed forms in another order; the matrices are random
    row.ours(FIXED_MEMBER(tarnmInvert_m4_32f), [=](auto invert, int) { return invert(a, nullptr, d); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen", [=](int, int) {
        using Matrix = Eigen::Matrix<float, 4, 4, Eigen::RowMajor>;
        Eigen::Map<Matrix>(d).noalias() = Eigen::Map<const Matrix>(a).inverse();
    });
#endif
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int, int) { as<glm::mat4>(d) = glm::inverse(as<glm::mat4>(a)); });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int, int) { glm_mat4_inv(columns(a), columns(d)); });
#endif
}

void lookAt(Row& row)
{
    const float* const eye = row.source<float>(3);
    const float* const at = row.source<float>(3);
    const float* const up = row.source<float>(3);
    float* const d = row.result<float>(16);
    row.ours(FIXED_MEMBER(tarnmLookAtRH_m4_32f), [=](auto build, int) { return build(eye, at, up, d); });
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int, int) {
        as<glm::mat4>(d) = glm::lookAtRH(as<glm::vec3>(eye), as<glm::vec3>(at), as<glm::vec3>(up));
    });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int, int) { glm_lookat_rh(elements(eye), elements(at), elements(up), columns(d)); });
#endif
}

void perspectiveFov(Row& row)
{
    const float* const v = row.source<float>(4); // field of view, aspect, near, far
    float* const d = row.result<float>(16);
    row.ours(FIXED_MEMBER(tarnmPerspectiveFovRH_m4_32f),
             [=](auto build, int) { return build(v[0], v[1], v[2], v[3], d); });
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int, int) { as<glm::mat4>(d) = glm::perspectiveRH_ZO(v[0], v[1], v[2], v[3]); });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int, int) { glm_perspective_rh_zo(v[0], v[1], v[2], v[3], columns(d)); });
#endif
}

void normalize(Row& row)
{
    const float* const a = row.source<float>(3);
    float* const d = row.result<float>(3);
    row.ours(FIXED_MEMBER(tarnmNormalize_v3_32f), [=](auto divide, int) { return divide(a, d); });
#ifdef BENCH_HAS_EIGEN
    row.peer("Eigen", [=](int, int) {
        Eigen::Map<Eigen::Vector3f> result(d);
        result = Eigen::Map<const Eigen::Vector3f>(a).normalized();
    });
#endif
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int, int) { as<glm::vec3>(d) = glm::normalize(as<glm::vec3>(a)); });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int, int) { glm_vec3_normalize_to(elements(a), d); });
#endif
}

void hermite(Row& row)
{
    const float* const a = row.source<float>(3);
    const float* const b = row.source<float>(3);
    const float* const c = row.source<float>(3);
    const float* const e = row.source<float>(3);
    const float* const s = row.source<float>(1);
    float* const d = row.result<float>(3);
    row.tolerance(1e-4); // outside of 0 to 1 the cubic is a difference of large terms
    row.ours(FIXED_MEMBER(tarnmHermite_v3_32f), [=](auto evaluate, int) { return evaluate(a, b, c, e, *s, d); });
#ifdef BENCH_HAS_GLM
    row.peer("GLM", [=](int, int) {
        as<glm::vec3>(d) = glm::hermite(as<glm::vec3>(a), as<glm::vec3>(b), as<glm::vec3>(c), as<glm::vec3>(e), *s);
    });
#endif
#ifdef BENCH_HAS_CGLM
    row.peer("cglm", [=](int, int) {
        for (int k = 0; k < 3; ++k)
            d[k] = glm_hermite(*s, a[k], b[k], e[k], c[k]);
    });
#endif
}

} // namespace

void geometryRows(Rows& rows)
{
    rows.add("affine_m4v3a/32f", affine);
    rows.add("coord_m4v3a/32f", coord);
    rows.add("mul_mm4x4/32f", {1}, product);
    rows.add("invert_m4/32f", {1}, inverse);
    rows.add("look_at/32f", {1}, lookAt);
    rows.add("perspective_fov/32f", {1}, perspectiveFov);
    rows.add("normalize_v3/32f", {1}, normalize);
    rows.add("hermite_v3/32f", {1}, hermite);
}

} // namespace bench
