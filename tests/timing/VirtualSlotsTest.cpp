// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/IntegrationTime.h>
#include <sensor/TdiStage.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>

namespace {

using sensor::IntegrationTime;
using sensor::TdiStage;
using test::SameBits;

using StoredInt = sensor::ScanlineData<float, unsigned int>;
using StoredByte = sensor::ScanlineData<float, unsigned char>;

#if defined(__x86_64__) && defined(__GXX_ABI_VERSION)
// The place of a virtual operation in the table of its class, as hosts that link against it have it. In the Itanium C++
// ABI a pointer to it holds one more than the byte offset. The destructor takes places 0 and 1.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
  std::array<std::ptrdiff_t, 2> words{};
  static_assert(sizeof operation == sizeof words);
  std::memcpy(words.data(), &operation, sizeof words);
  return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

template <class Data>
void expectTheOrderOfScanlineData() {
  EXPECT_EQ(slotOf(&Data::at), 2);
  EXPECT_EQ(slotOf(&Data::minimum), 3);
  EXPECT_EQ(slotOf(&Data::maximum), 4);
  EXPECT_EQ(slotOf(&Data::middle), 5);
  EXPECT_EQ(slotOf(&Data::write), 6);
  EXPECT_EQ(slotOf(&Data::read), 7);
}

TEST(VirtualSlots, ScanlineDataHasItsOperationsInOrder) {
  expectTheOrderOfScanlineData<StoredInt>();
  expectTheOrderOfScanlineData<StoredByte>();
  expectTheOrderOfScanlineData<TdiStage>();
}

TEST(VirtualSlots, IntegrationTimeAddsOneBehindThem) {
  expectTheOrderOfScanlineData<IntegrationTime>();
  EXPECT_EQ(slotOf(&IntegrationTime::minimumTime), 8);
}
#endif

// Answers with numbers of its own, so that a call that goes elsewhere shows.
class Numbered : public StoredInt {
public:
  explicit Numbered(bool& destroyed) : StoredInt(0.0F, 1.0), mDestroyed(&destroyed) {}
  ~Numbered() override { *mDestroyed = true; }
  Numbered(Numbered const&) = delete;
  Numbered& operator=(Numbered const&) = delete;
  float at(float line) const override { return line + 1.0F; }
  float minimum() const override { return 2.0F; }
  float maximum() const override { return 7.0F; }
  void write(std::string const& fileName) override { written = fileName; }
  void read() override { written = "read"; }

  std::string written;

private:
  bool* mDestroyed;
};

TEST(VirtualSlots, CallsThroughTheBaseReachTheDerivedClass) {
  bool destroyed = false;
  auto derived = std::make_unique<Numbered>(destroyed);
  Numbered const& numbered = *derived;
  std::unique_ptr<StoredInt> const base = std::move(derived);
  EXPECT_EQ(base->at(10.0F), 11.0F);
  EXPECT_EQ(base->minimum(), 2.0F);
  EXPECT_EQ(base->maximum(), 7.0F);
  // The middle asks for both: (7 + 2) / 2.
  EXPECT_EQ(base->middle(), 4.5F);
  base->write("name");
  EXPECT_EQ(numbered.written, "name");
  base->read();
  EXPECT_EQ(numbered.written, "read");
}

TEST(VirtualSlots, DestructionThroughTheBaseReachesTheDerivedClass) {
  bool destroyed = false;
  std::unique_ptr<StoredInt> base = std::make_unique<Numbered>(destroyed);
  base.reset();
  EXPECT_TRUE(destroyed);
}

TEST(VirtualSlots, ReadThroughTheBaseForgetsTheMinimumOfAnIntegrationTime) {
  test::TempFolder const folder;
  IntegrationTime time(folder.file("a.it", std::string("\0\0\0\0\x10\0\0\0", 8)));
  EXPECT_THAT(time.minimumTime().value(), SameBits(static_cast<float>(16.0 * 1e-6)));
  folder.file("a.it", std::string("\0\0\0\0\x08\0\0\0", 8));
  StoredInt& base = time;
  base.read();
  EXPECT_THAT(time.minimumTime().value(), SameBits(static_cast<float>(8.0 * 1e-6)));
}

TEST(VirtualSlots, TdiStageAnswersThroughItsBase) {
  std::unique_ptr<StoredByte> const stages = std::make_unique<TdiStage>(12.0F);
  EXPECT_EQ(stages->at(5.0F), 12.0F);
  EXPECT_EQ(stages->middle(), 12.0F);
}

}  // namespace
