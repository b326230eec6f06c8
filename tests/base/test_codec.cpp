// Codecs: what follows from a list of members, on a type made for it whose stored order is not its
// memory order.
#include <doctest/doctest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "kvbase/codec.h"
#include "support/host.h"

namespace {

struct Inner {
  signed char sign;
  unsigned short word;
};

struct Sample {
  unsigned char id[5];
  double real;
  Inner inner;
  unsigned unstored;
};

using namespace kv;
using SampleCodec =
    Codec<Sample, At<&Sample::inner, &Inner::sign>, HighestFirst<&Sample::inner, &Inner::word>,
          At<&Sample::real>, AsItIs<&Sample::id>>;

static_assert(SampleCodec::kStoredWidth == 1 + 2 + 8 + 5 && !SampleCodec::HasSameLayout(false));
static_assert(ScalarCodec<unsigned short>::HasSameLayout(false));
static_assert(!ScalarCodec<unsigned short>::HasSameLayout(true));
static_assert(ScalarCodec<char>::HasSameLayout(true));
static_assert(Codec<Inner, At<&Inner::sign>>::kStoredWidth == 1);

// What cannot be stored does not compile as a member of a codec.
static_assert(CanBeStored(DescribeMember<Sample, AsItIs<&Sample::id>>()));
static_assert(!CanBeStored(DescribeMember<Sample, At<&Sample::id>>()));
static_assert(!CanBeStored(DescribeMember<Sample, HighestFirst<&Sample::inner>>()));
static_assert(!CanBeStored({0, 16, MemberKind::kFloating, ByteOrder::kOfFormat}));

static_assert(!SampleCodec::OrdersAsBytes(true));
using Tag = Codec<Inner, HighestFirst<&Inner::word>>;
static_assert(Tag::OrdersAsBytes(false) && Tag::OrdersAsBytes(true));
static_assert(ScalarCodec<unsigned>::OrdersAsBytes(false) == support::kHostIsBig);
static_assert(ScalarCodec<unsigned>::OrdersAsBytes(true) != support::kHostIsBig);
static_assert(!ScalarCodec<int>::OrdersAsBytes(true));

std::string Stored(const Sample& sample, bool reversed) {
  std::string bytes(SampleCodec::kStoredWidth, '?');
  SampleCodec::Store(reinterpret_cast<unsigned char*>(bytes.data()), sample, reversed);
  return bytes;
}

TEST_CASE("members are packed in the order of the list, each turned as its entry says") {
  const Sample sample{{'i', 'd', 'e', 'n', 't'}, 1.0, {-2, 0x1234}, 7};
  CHECK(Stored(sample, support::kHostIsBig) ==
        std::string("\xFE\x12\x34\0\0\0\0\0\0\xF0\x3Fident", 16));
  CHECK(Stored(sample, !support::kHostIsBig) ==
        std::string("\xFE\x12\x34\x3F\xF0\0\0\0\0\0\0ident", 16));

  for (const Format format : {Format{0}, Format{2}}) {
    const std::string bytes = Stored(sample, format.IsReversed());
    const Sample read =
        SampleCodec::Read(reinterpret_cast<const unsigned char*>(bytes.data()), format);
    CHECK(Stored(read, false) == Stored(sample, false));
    CHECK(read.unstored == 0);
  }
}

TEST_CASE("the order that follows from a list goes by each member's own kind") {
  // Ascending; each differs from the one before in a member that counts less.
  const Sample ascending[] = {{{1}, NAN, {-128, 9}, 0},      {{0}, NAN, {0, 9}, 0},
                              {{0}, -1, {0, 0x8000}, 0},     {{0}, 2.5, {0, 0x8000}, 0},
                              {{0, 1}, 2.5, {0, 0x8000}, 0}, {{0, 200}, 2.5, {0, 0x8000}, 0}};
  const int count = static_cast<int>(std::size(ascending));
  for (int i = 0; i < count; ++i) {
    for (int j = 0; j < count; ++j) {
      CHECK(SampleCodec::Order(ascending[i], ascending[j]) == (i > j) - (i < j));
    }
  }
  CHECK(SampleCodec::Order({{}, 0.0, {}, 1}, {{}, -0.0, {}, 2}) == 0);
}

TEST_CASE("a codec tells its members") {
  std::vector<Member> members;
  SampleCodec::ForEachMember([&](auto member) { members.push_back(member.value); });
  REQUIRE(members.size() == 4);
  CHECK(members[0].offset == offsetof(Sample, inner));
  CHECK(members[1].offset == offsetof(Sample, inner) + offsetof(Inner, word));
  CHECK(members[2].offset == offsetof(Sample, real));
  CHECK(members[3].offset == 0);
  CHECK(members[0].kind == MemberKind::kSigned);
  CHECK(members[1].kind == MemberKind::kUnsigned);
  CHECK(members[2].kind == MemberKind::kFloating);
  CHECK(members[3].kind == MemberKind::kBytes);
  CHECK(members[3].width == 5);
}

}  // namespace
