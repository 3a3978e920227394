#pragma once

namespace kv_img {

/// What `_LoadAlgorithm` answers with: the base of every implementation object. Cast it statically to the
/// interface class of the algorithm and image types that were asked for.
class AlgorithmInterface {};

/// Home of helpers that clip work to images; empty.
struct BoundariesHelpers {};

/// Base of the interfaces over one image type.
template <class ImageType>
struct UnaryAlgorithm : AlgorithmInterface, BoundariesHelpers {};

/// Base of the interfaces over a source and a destination image type.
template <class ImageIn, class ImageOut>
struct BinaryAlgorithm : AlgorithmInterface, BoundariesHelpers {};

}  // namespace kv_img
