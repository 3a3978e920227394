#include "image/errors/exceptions.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "image/errors/message_text.h"

namespace {

using kv_img::AlgoException;
using kv_img::AlgoMMXException;
using kv_img::AlgoMotionException;
using kv_std::FormatMessageText;
using kv_std::KVException;
using kv_std::SpinBarrierException;

std::wstring Format(const wchar_t* text, const wchar_t* arg1 = nullptr, const wchar_t* arg2 = nullptr,
                    const wchar_t* arg3 = nullptr, const wchar_t* arg4 = nullptr) {
  return FormatMessageText(text, {arg1, arg2, arg3, arg4});
}

TEST(MessageText, PutsArgumentsInPlaceOfPlaceholders) {
  EXPECT_EQ(Format(L"%1-%2-%3-%4", L"a", L"bb", L"", L"d"), L"a-bb--d");
  EXPECT_EQ(Format(L"%2%1%2", L"x", L"y"), L"yxy");
}

TEST(MessageText, DoubledPercentSignGivesOne) {
  EXPECT_EQ(Format(L"100%% %%1", L"x"), L"100% %1");
}

TEST(MessageText, DigitsWithoutArgumentVanishWithTheSign) {
  EXPECT_EQ(Format(L"a%0b%5c%6d%7e%8f%9g", L"1", L"2", L"3", L"4"), L"abcdefg");
}

TEST(MessageText, PercentBeforeALetterStaysAndTheLetterToo) {
  EXPECT_EQ(Format(L"%d %x%1%", L"!"), L"%d %x!%");
  EXPECT_EQ(Format(L"%"), L"%");
}

TEST(MessageText, SingleSignThenPlaceholder) {
  EXPECT_EQ(Format(L"%a%1%%1", L"x"), L"%ax%1");
}

TEST(MessageText, MissingArgumentVanishes) {
  EXPECT_EQ(Format(L"in %1 of %2.", nullptr, L"b"), L"in  of b.");
}

TEST(MessageText, ArgumentOf300CharactersIsLeftOut) {
  const std::wstring longText(300, L'x');
  EXPECT_EQ(Format(L"before %1 after", longText.c_str()), L"before  after");
}

TEST(MessageText, ArgumentFitsWhileTheSumStaysBelow299) {
  EXPECT_EQ(Format(L"%1", std::wstring(298, L'x').c_str()).size(), 298U);
  EXPECT_EQ(Format(L"%1", std::wstring(299, L'x').c_str()), L"");
  EXPECT_EQ(Format(L"ab%1", std::wstring(296, L'x').c_str()).size(), 298U);
  EXPECT_EQ(Format(L"ab%1c", std::wstring(297, L'x').c_str()), L"abc");
}

TEST(MessageText, StopsAfter299Characters) {
  EXPECT_EQ(Format(std::wstring(400, L'y').c_str()), std::wstring(299, L'y'));
  const std::wstring full = std::wstring(298, L'y') + L"%%z";
  EXPECT_EQ(Format(full.c_str()), std::wstring(298, L'y') + L"%");
}

TEST(MessageText, CountsUnitsOfWideText) {
  // One unit of 32 bits, or two of 16.
  const std::wstring letter = L"\U0001F33E";
  EXPECT_EQ(letter.size(), sizeof(wchar_t) == 2 ? 2U : 1U);
  std::wstring text;
  while (text.size() < 400) text += letter;
  EXPECT_EQ(Format(text.c_str()), text.substr(0, 299));
}

TEST(MessageText, NullTemplateIsEmpty) {
  EXPECT_EQ(Format(nullptr, L"x"), L"");
}

TEST(Catalogue, UnknownCodeGivesTheEmptyText) {
  const kv_std::CatalogueEntry catalogue[] = {{7, L"seven"}, {8, nullptr}, {0, L""}};
  EXPECT_STREQ(kv_std::FindText(catalogue, 7), L"seven");
  EXPECT_STREQ(kv_std::FindText(catalogue, 8), L"Empty message for exception code");
  EXPECT_STREQ(kv_std::FindText(catalogue, 9), L"");
  EXPECT_STREQ(kv_std::FindText(catalogue, 0), L"");
}

TEST(Exceptions, CodeOneNamesTheAlgorithm) {
  const AlgoMMXException error(1, L"CopyMMX", L"");
  EXPECT_EQ(error.Code(), 1U);
  EXPECT_EQ(error.Message(), L"Incompatible image sizes in method CopyMMX");
}

TEST(Exceptions, UnknownCodeCarriesAnEmptyMessage) {
  const AlgoMotionException error(99, L"x");
  EXPECT_EQ(error.Code(), 99U);
  EXPECT_EQ(error.Message(), L"");
}

TEST(Exceptions, BaseClassTakesItsTextFromTheThrower) {
  const KVException error(5, L"%1 and %2, not %3", L"a", L"b");
  EXPECT_EQ(error.Code(), 5U);
  EXPECT_EQ(error.Message(), L"a and b, not ");
}

TEST(Exceptions, MmxTextsHaveAnEmptyThirdArgument) {
  EXPECT_EQ(AlgoMMXException(4, L"A", L"B").Message(), L"Method A has not been implemented yet for B");
  EXPECT_EQ(AlgoMMXException(4, L"A", L"").Message(), L"Method A has not been implemented yet for ");
}

struct Text {
  std::uint32_t code;
  const wchar_t* text;
};

template <class Exception>
void ExpectTexts(std::initializer_list<Text> texts) {
  for (const auto& [code, text] : texts) EXPECT_EQ(Exception(code, L"<1>", L"<2>").Message(), text) << code;
}

TEST(Exceptions, CataloguesAreWhole) {
  ExpectTexts<SpinBarrierException>({{12603, L"Internal barrier exception: exit has been requested"},
                                     {12607, L"Internal barrier exception: a processing error occured"}});
  ExpectTexts<AlgoException>({{1, L"No implementation of the <1> algorithm has been found"},
                              {2, L"Parameter <1> of method <2> is not valid"},
                              {3, L"Image cannot be saved"},
                              {4, L"Image cannot be loaded"}});
  ExpectTexts<AlgoMMXException>({{1, L"Incompatible image sizes in method <1>"},
                                 {2, L"Incompatible roi sizes in method <1>"},
                                 {3, L"Out of memory in method <1>"},
                                 {4, L"Method <1> has not been implemented yet for <2>"},
                                 {5, L"Model not implemented in method <1>"},
                                 {6, L"Color model is not supported in method <1>"}});
  ExpectTexts<AlgoMotionException>(
      {{1, L"Memory cannot be allocated in method <1>"},
       {2, L"The region of support is not rectangular and <1> cannot be called"},
       {3, L"The images are not allowed to be different in <1>"},
       {4, L"Invalid ros line length in method <1>"},
       {5, L"Procedure <1> has not been implemented for this motion model"},
       {6, L"Procedure <1> has not been implemented for this motion model"},
       {7, L"Rotation parameters have not been initialized before a call to <1>"},
       {8, L"The motion model passed in <1> is not valid"},
       {9, L"The <1> operation requires the motion parameters to be of the same type"},
       {10, L"The two motion parameters cannot be composed"},
       {11, L"Angles are not valid in a call to <1>. Use explicit call to SetAnglesFromMatrix"},
       {12, L"The region of support of the image is not a rectangle (method <1>)"},
       {13, L"Aspect ratio has to be explicitly set in a call to <1>"},
       {14, L"The two images do not have sufficient common background"},
       {15, L"The motion parameters are not valid"},
       {16, L"Access to an invalid index in list in method <1> (index <2>)"},
       {17, L"An internal error occurred in the processing modules: <1>"},
       {18, L"A non-supported version has been detected in <1>."},
       {19, L"The chosen computation mode requires <1>"},
       {20, L"The <1> cannot be loaded"},
       {21, L"The function <1> cannot be found in dll"},
       {22, L"An invalid motion parameter type has been detected in <1>."},
       {23, L"The method has not be implemented yet"},
       {24,
        L"Invalid camera orientation in a call to <1> (the optical center is not covered by a region of "
        L"support)"},
       {25, L"Empty region of support in a call to <1> (probably the motion parameter list is empty) "},
       {26, L"The motion referential type of the motion parameters list is not supported in method <1>"},
       {27, L"The <1> mode has not been implemented"},
       {28, L"Requested composition out of bounds"},
       {29, L"Cannot insert <1> when the computation mode is NOT <2>"},
       {30,
        L"The motion model of the element inserted in the list is not consistent with the motion model "
        L"associated to the list"},
       {31,
        L"Cannot insert an element at position <1> in the <2>  list. Reason: there is already an element at "
        L"this "
        L"position."},
       {32, L"The region of support has not been initialized (method <1>)"},
       {33, L"A wrong rotation direction has been detected (method <1>)"},
       {34, L""}});
}

template <class Exception>
void ExpectCaughtAsBase() {
  try {
    throw Exception(1, L"x");
  } catch (const KVException& error) {
    EXPECT_EQ(error.Code(), 1U);
    return;
  }
}

TEST(Exceptions, AreCaughtByReferenceToTheBase) {
  ExpectCaughtAsBase<KVException>();
  ExpectCaughtAsBase<SpinBarrierException>();
  ExpectCaughtAsBase<AlgoException>();
  ExpectCaughtAsBase<AlgoMotionException>();
  ExpectCaughtAsBase<AlgoMMXException>();
  EXPECT_FALSE((std::is_base_of_v<std::exception, KVException>));
}

TEST(Message, ShortAndLongTextsAreCopiedMovedAndAssigned) {
  for (const std::size_t length : {0U, 1U, 62U, 63U, 64U, 65U, 299U}) {
    const std::wstring text(length, L'm');
    kv_std::Message message{text};
    EXPECT_EQ(message.size(), length);
    EXPECT_EQ(message.empty(), length == 0);
    EXPECT_EQ(std::wstring(message.c_str()), text);
    const kv_std::Message copy = message;
    EXPECT_NE(copy.c_str(), message.c_str());
    kv_std::Message assigned{std::wstring(100, L'x')};
    assigned = message;
    EXPECT_EQ(assigned, copy);
    EXPECT_EQ(assigned, text);
    const kv_std::Message moved = std::move(message);
    EXPECT_EQ(moved, text);
    EXPECT_EQ(copy, moved);
  }
  EXPECT_FALSE(kv_std::Message(L"a") == kv_std::Message(L"b"));
}

TEST(Exceptions, CopiesAreDeep) {
  auto* original = new AlgoMMXException(1, L"CopyMMX");
  const AlgoMMXException copy = *original;  // NOLINT(performance-unnecessary-copy-initialization)
  delete original;
  EXPECT_EQ(copy.Message(), L"Incompatible image sizes in method CopyMMX");
}

TEST(Message, IsReadAsAStringIs) {
  const AlgoMMXException error(1, L"CopyMMX");
  const std::wstring text = L"Incompatible image sizes in method CopyMMX";
  const std::wstring& bound = error.Message();
  EXPECT_EQ(bound, text);
  EXPECT_EQ(std::wstring(error.Message().begin(), error.Message().end()), text);
  EXPECT_EQ(error.Message().length(), text.size());
  EXPECT_EQ(error.Message()[0], L'I');
  EXPECT_EQ(error.Message().find(L"Copy"), text.find(L"Copy"));
  EXPECT_EQ(error.Message().find(L'C'), text.find(L'C'));
  EXPECT_EQ(error.Message().find(L"none"), std::wstring::npos);
  EXPECT_EQ(error.Message().substr(13, 5), L"image");
  EXPECT_EQ(error.Message().compare(text), 0);
  EXPECT_EQ(L"kv: " + error.Message(), L"kv: " + text);
  EXPECT_EQ(error.Message() + L".", text + L".");
  EXPECT_TRUE(text == error.Message() && error.Message() != L"");
}

}  // namespace
