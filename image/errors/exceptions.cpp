#include "image/errors/exceptions.h"

#include <algorithm>

#include "image/errors/message_text.h"

namespace {

using kv_std::CatalogueEntry;

constexpr CatalogueEntry barrierCatalogue[] = {
    {12603, L"Internal barrier exception: exit has been requested"},
    {12607, L"Internal barrier exception: a processing error occured"},
    {0, L""},
};

constexpr CatalogueEntry algorithmCatalogue[] = {
    {1, L"No implementation of the %1 algorithm has been found"},
    {2, L"Parameter %1 of method %2 is not valid"},
    {3, L"Image cannot be saved"},
    {4, L"Image cannot be loaded"},
    {0, L""},
};

constexpr CatalogueEntry mmxCatalogue[] = {
    {1, L"Incompatible image sizes in method %1"},
    {2, L"Incompatible roi sizes in method %1"},
    {3, L"Out of memory in method %1"},
    {4, L"Method %1 has not been implemented yet for %2"},
    {5, L"Model not implemented in method %1"},
    {6, L"Color model is not supported in method %1"},
    {0, L""},
};

// A stop reaches the threads of a call when there is no memory too.
static_assert(std::ranges::all_of(barrierCatalogue, [](const CatalogueEntry& entry) {
  return std::wstring_view(entry.text).size() < kv_std::Message::shortCapacity;
}));

// Codes 5 and 6 share one text, 25 ends with a blank and 31 has two blanks after %2: hosts compare these
// texts.
constexpr CatalogueEntry motionCatalogue[] = {
    {1, L"Memory cannot be allocated in method %1"},
    {2, L"The region of support is not rectangular and %1 cannot be called"},
    {3, L"The images are not allowed to be different in %1"},
    {4, L"Invalid ros line length in method %1"},
    {5, L"Procedure %1 has not been implemented for this motion model"},
    {6, L"Procedure %1 has not been implemented for this motion model"},
    {7, L"Rotation parameters have not been initialized before a call to %1"},
    {8, L"The motion model passed in %1 is not valid"},
    {9, L"The %1 operation requires the motion parameters to be of the same type"},
    {10, L"The two motion parameters cannot be composed"},
    {11, L"Angles are not valid in a call to %1. Use explicit call to SetAnglesFromMatrix"},
    {12, L"The region of support of the image is not a rectangle (method %1)"},
    {13, L"Aspect ratio has to be explicitly set in a call to %1"},
    {14, L"The two images do not have sufficient common background"},
    {15, L"The motion parameters are not valid"},
    {16, L"Access to an invalid index in list in method %1 (index %2)"},
    {17, L"An internal error occurred in the processing modules: %1"},
    {18, L"A non-supported version has been detected in %1."},
    {19, L"The chosen computation mode requires %1"},
    {20, L"The %1 cannot be loaded"},
    {21, L"The function %1 cannot be found in dll"},
    {22, L"An invalid motion parameter type has been detected in %1."},
    {23, L"The method has not be implemented yet"},
    {24,
     L"Invalid camera orientation in a call to %1 (the optical center is not covered by a region of "
     L"support)"},
    {25, L"Empty region of support in a call to %1 (probably the motion parameter list is empty) "},
    {26, L"The motion referential type of the motion parameters list is not supported in method %1"},
    {27, L"The %1 mode has not been implemented"},
    {28, L"Requested composition out of bounds"},
    {29, L"Cannot insert %1 when the computation mode is NOT %2"},
    {30,
     L"The motion model of the element inserted in the list is not consistent with the motion model "
     L"associated "
     L"to the list"},
    {31,
     L"Cannot insert an element at position %1 in the %2  list. Reason: there is already an element at this "
     L"position."},
    {32, L"The region of support has not been initialized (method %1)"},
    {33, L"A wrong rotation direction has been detected (method %1)"},
    {0, L""},
};

kv_std::Message CatalogueText(const CatalogueEntry* catalogue, std::uint32_t code, const wchar_t* arg1,
                              const wchar_t* arg2, const wchar_t* arg3) {
  return kv_std::FormatMessageText(kv_std::FindText(catalogue, code), {arg1, arg2, arg3, nullptr});
}

}  // namespace

namespace kv_std {

SpinBarrierException::SpinBarrierException(std::uint32_t code, const wchar_t* arg1, const wchar_t* arg2,
                                           const wchar_t* arg3)
    : KVException(code) {
  SetMessage(CatalogueText(barrierCatalogue, code, arg1, arg2, arg3));
}
SpinBarrierException::~SpinBarrierException() = default;

}  // namespace kv_std

namespace kv_img {

AlgoException::AlgoException(std::uint32_t code, const wchar_t* arg1, const wchar_t* arg2,
                             const wchar_t* arg3)
    : KVException(code) {
  SetMessage(CatalogueText(algorithmCatalogue, code, arg1, arg2, arg3));
}
AlgoException::~AlgoException() = default;

AlgoMotionException::AlgoMotionException(std::uint32_t code, const wchar_t* arg1, const wchar_t* arg2,
                                         const wchar_t* arg3)
    : KVException(code) {
  SetMessage(CatalogueText(motionCatalogue, code, arg1, arg2, arg3));
}
AlgoMotionException::~AlgoMotionException() = default;

AlgoMMXException::AlgoMMXException(std::uint32_t code, const wchar_t* arg1, const wchar_t* arg2)
    : KVException(code) {
  SetMessage(CatalogueText(mmxCatalogue, code, arg1, arg2, L""));
}
AlgoMMXException::~AlgoMMXException() = default;

}  // namespace kv_img
