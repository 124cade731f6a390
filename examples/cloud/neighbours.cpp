#include "neighbours.h"

#include <nanoflann.hpp>

namespace cloud {

template <class T> class Neighbours<T>::Index {
public:
    explicit Index(const Points<T>& points)
        : cloud{points}
        , tree(3, cloud, nanoflann::KDTreeSingleIndexAdaptorParams(leafSize))
    {}

    void nearest(const Point<T>& point, std::size_t k, std::uint32_t* numbers, T* squares) const
    {
        tree.knnSearch(point.data(), k, numbers, squares);
    }

private:
    static constexpr std::size_t leafSize = 16;

    struct View {
        const Points<T>& points;

        std::size_t kdtree_get_point_count() const { return points.size(); }
        T kdtree_get_pt(std::size_t n, std::size_t k) const { return points[n][k]; }
        template <class Box> bool kdtree_get_bbox(Box&) const { return false; }
    };
    using Tree = nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<T, View>, View, 3, std::uint32_t>;

    View cloud;
    Tree tree;
};

template <class T>
Neighbours<T>::Neighbours(const Points<T>& points)
    : index(std::make_unique<Index>(points))
{}

template <class T> Neighbours<T>::~Neighbours() = default;

template <class T> void Neighbours<T>::nearest(const Point<T>& point, std::size_t k, std::uint32_t* numbers)
{
    distances.resize(k);
    index->nearest(point, k, numbers, distances.data());
}

template class Neighbours<float>;
template class Neighbours<double>;

} // namespace cloud
