#include <array>
#include <functional>
#include <sys/mman.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "tests/support/heif_output.h"

namespace quellor::heif {
namespace {

using test_support::box;
using test_support::dataOf;
using test_support::HeifBuilder;
using test_support::idsOf;
using test_support::ispe;
using test_support::propertiesOf;
using test_support::propertyTypesOf;
using test_support::textsOf;
using test_support::written;
using ::testing::ElementsAre;

const Bytes kFirstRun = {1, 2, 3};
const Bytes kSecondRun = {4, 5};

/// Two pictures and a metadata item; the first picture lies in two runs.
OutputFile smallFile() {
  OutputFile file;
  file.majorBrand = fourCC("heic");
  file.compatibleBrands = {fourCC("mif1"), fourCC("heic")};
  file.primaryItem = 20;
  file.properties = {ispe(640, 480), ispe(64, 48)};
  file.items = {{20, fourCC("hvc1"), false, "first", {}, {kFirstRun, kSecondRun}, {{0, true}, {1, false}}},
                {3, fourCC("hvc1"), true, "", {}, {kSecondRun}, {{1, false}}},
                {21, fourCC("mime"), true, "", "application/rdf+xml", {kFirstRun}, {}}};
  file.references = {{fourCC("dimg"), 20, {3, 21, 3}}, {fourCC("cdsc"), 21, {20}}};
  return file;
}

Bytes joined(const std::vector<ByteView>& runs) {
  Bytes bytes;
  for (const ByteView run : runs) bytes.insert(bytes.end(), run.begin(), run.end());
  return bytes;
}

/// Reads `file` back after writing it and compares everything.
void expectSameWhenRead(const OutputFile& file) {
  const Bytes bytes = written(file);
  const auto container = readContainer(bytes);
  ASSERT_TRUE(container);
  EXPECT_EQ(container->majorBrand, file.majorBrand);
  EXPECT_EQ(container->compatibleBrands, file.compatibleBrands);
  EXPECT_EQ(container->primaryItem, file.primaryItem);
  EXPECT_EQ(textsOf(container->references), textsOf(file.references));
  ASSERT_EQ(container->items.size(), file.items.size());
  for (std::size_t i = 0; i < file.items.size(); ++i) {
    const OutputItem& wanted = file.items[i];
    const Item& item = container->items[i];
    EXPECT_EQ(item.id, wanted.id);
    EXPECT_EQ(item.type, wanted.type);
    EXPECT_EQ(item.hidden, wanted.hidden);
    EXPECT_EQ(item.name, wanted.name);
    EXPECT_EQ(item.contentType, wanted.contentType);
    EXPECT_EQ(dataOf(*container, item), joined(wanted.data));
    const auto properties = propertiesOf(*container, item);
    ASSERT_EQ(properties.size(), wanted.properties.size());
    for (std::size_t p = 0; p < properties.size(); ++p) {
      EXPECT_EQ(box(properties[p].type, properties[p].payload), file.properties[wanted.properties[p].index]);
      EXPECT_EQ(properties[p].essential, wanted.properties[p].essential);
    }
  }
}

/// The version of the first box of `type`.
int versionOf(const Bytes& file, const std::string& type) {
  const auto found = std::search(file.begin(), file.end(), type.begin(), type.end());
  return file.end() - found > 4 ? found[4] : -1;
}

TEST(HeifWriter, WritesWhatIsReadBack) {
  const struct {
    const char* what;
    std::function<void(OutputFile&)> change;
  } cases[] = {
      {"nothing special", [](OutputFile&) {}},
      {"ids of 16 bits", [](OutputFile& f) { f.items[1].id = 65535, f.references.clear(); }},
      {"an id of 17 bits", [](OutputFile& f) { f.items[1].id = 65536, f.references.clear(); }},
      {"a primary item of 32 bits",
       [](OutputFile& f) { f.items[0].id = f.primaryItem = UINT32_MAX, f.references[0].from = UINT32_MAX; }},
      {"an item without data", [](OutputFile& f) { f.items[0].data.clear(); }},
      {"an item of an empty run", [](OutputFile& f) { f.items[1].data = {ByteView{}}; }},
      {"no data at all",
       [](OutputFile& f) {
         for (OutputItem& item : f.items) item.data.clear();
       }},
      {"many runs", [](OutputFile& f) { f.items[2].data.assign(70000, kSecondRun); }},
      {"no properties",
       [](OutputFile& f) {
         for (OutputItem& item : f.items) item.properties.clear();
         f.properties.clear();
       }},
      {"255 properties of an item",
       [](OutputFile& f) {
         f.items[0].properties.assign(255, {1, true});
       }},
      {"no references", [](OutputFile& f) { f.references.clear(); }},
      {"65535 targets of a reference", [](OutputFile& f) { f.references[0].to.assign(65535, 3); }},
      {"no compatible brands", [](OutputFile& f) { f.compatibleBrands.clear(); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    OutputFile file = smallFile();
    c.change(file);
    expectSameWhenRead(file);
  }
}

TEST(HeifWriter, WritesIndexesOfTwoBytesBeyond127Properties) {
  for (const std::size_t count : {127u, 128u, 32767u}) {
    SCOPED_TRACE(count);
    OutputFile file = smallFile();
    file.items.resize(1);
    file.references.clear();
    file.properties.clear();
    file.items[0].properties.clear();
    for (std::size_t i = 0; i < count; ++i) {
      file.properties.push_back(ispe(static_cast<std::uint32_t>(i), 1));
      if (i % 250 == 0) {
        file.items.push_back(file.items[0]);
        file.items.back().id = static_cast<ItemId>(1000 + i);
        file.items.back().properties.clear();
      }
      file.items.back().properties.push_back({i, i % 3 == 0});
    }
    expectSameWhenRead(file);
  }
}

TEST(HeifWriter, UsesTheOldestVersionOfEveryBoxThatWillDo) {
  OutputFile file = smallFile();
  Bytes bytes = written(file);
  EXPECT_EQ(versionOf(bytes, "pitm"), 0);
  EXPECT_EQ(versionOf(bytes, "infe"), 2);
  EXPECT_EQ(versionOf(bytes, "iloc"), 0);
  EXPECT_EQ(versionOf(bytes, "ipma"), 0);
  EXPECT_EQ(versionOf(bytes, "iref"), 0);
  file.items[2].id = 0x10000;
  file.references[1].from = 0x10000;
  bytes = written(file);
  EXPECT_EQ(versionOf(bytes, "pitm"), 1);
  EXPECT_EQ(versionOf(bytes, "infe"), 3);
  EXPECT_EQ(versionOf(bytes, "iloc"), 2);
  EXPECT_EQ(versionOf(bytes, "ipma"), 1);
  EXPECT_EQ(versionOf(bytes, "iref"), 1);
}

TEST(HeifWriter, DoesNotCopyTheData) {
  const OutputFile file = smallFile();
  const auto serialised = serialise(file);
  ASSERT_TRUE(serialised);
  ASSERT_EQ(serialised->runs.size(), 4u);
  EXPECT_EQ(serialised->runs[0].data(), kFirstRun.data());
  EXPECT_EQ(serialised->runs[1].data(), kSecondRun.data());
  EXPECT_EQ(serialised->parts().front().data(), serialised->head.data());
}

TEST(HeifWriter, LeavesOutPropertiesThatNoItemHas) {
  OutputFile file = smallFile();
  file.properties.insert(file.properties.begin(), ispe(1, 1));
  for (OutputItem& item : file.items) {
    for (OutputAssociation& association : item.properties) ++association.index;
  }
  EXPECT_EQ(written(file), written(smallFile()));
}

/// Address space to point at: nothing of it is ever read.
class HugeData {
 public:
  explicit HugeData(std::size_t size)
      : address_(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)), size_(size) {}
  HugeData(const HugeData&) = delete;
  HugeData& operator=(const HugeData&) = delete;
  ~HugeData() {
    if (good()) munmap(address_, size_);
  }

  [[nodiscard]] bool good() const { return address_ != MAP_FAILED; }
  [[nodiscard]] ByteView view(std::size_t size) const { return {static_cast<const std::uint8_t*>(address_), size}; }

 private:
  void* address_;
  std::size_t size_;
};

TEST(HeifWriter, CountsBeyondFourGigabytes) {
  constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30;
  const HugeData huge(5 * gigabyte);
  if (!huge.good()) GTEST_SKIP() << "no address space";
  for (const auto& [first, second] : {std::pair{3 * gigabyte, 2 * gigabyte}, std::pair{5 * gigabyte, gigabyte}}) {
    OutputFile file = smallFile();
    file.items[0].data = {huge.view(first)};
    file.items[1].data = {huge.view(second)};
    const auto serialised = serialise(file);
    ASSERT_TRUE(serialised);
    const Bytes& head = serialised->head;
    const auto container = readContainer(head);
    ASSERT_TRUE(container);
    const auto extentOf = [&](std::size_t item) { return container->items.at(item).extents.at(0); };
    EXPECT_EQ(extentOf(0).offset, head.size());
    EXPECT_EQ(extentOf(0).length, first);
    EXPECT_EQ(extentOf(1).offset, head.size() + first);
    EXPECT_EQ(extentOf(1).length, second);
    EXPECT_EQ(extentOf(2).offset, head.size() + first + second);
    ByteReader mediaData(ByteView(head).last(16));
    EXPECT_EQ(mediaData.u32(), 1u);
    EXPECT_EQ(mediaData.u32(), fourCC("mdat"));
    EXPECT_EQ(mediaData.u64(), 16 + first + second + kFirstRun.size());
  }
}

TEST(HeifWriter, RefusesWhatTheFormatHasNoRoomFor) {
  const HugeData huge(std::size_t{1} << 46);
  const struct {
    const char* what;
    std::function<void(OutputFile&)> change;
  } cases[] = {
      {"an id twice", [](OutputFile& f) { f.items[1].id = 20; }},
      {"no primary item", [](OutputFile& f) { f.primaryItem = 19; }},
      {"a property that does not exist", [](OutputFile& f) { f.items[0].properties[0].index = 2; }},
      {"256 properties of an item",
       [](OutputFile& f) {
         f.items[0].properties.assign(256, {1, true});
       }},
      {"65536 targets of a reference", [](OutputFile& f) { f.references[0].to.assign(65536, 3); }},
      {"a name with a NUL", [](OutputFile& f) { f.items[0].name.push_back('\0'); }},
      {"65536 items",
       [](OutputFile& f) {
         f.items.resize(65536);
         for (std::size_t i = 0; i < f.items.size(); ++i) f.items[i].id = static_cast<ItemId>(i);
       }},
      {"32768 properties",
       [](OutputFile& f) {
         f.properties.assign(32768, ispe(1, 1));
         f.items.resize(1);
         for (std::size_t i = 0; i < 32768; ++i) {
           if (i % 200 == 0) f.items.push_back({static_cast<ItemId>(1000 + i), fourCC("hvc1"), false, "", "", {}, {}});
           f.items.back().properties.push_back({i, false});
         }
       }},
      {"data whose size overflows",
       [&huge](OutputFile& f) {
         if (huge.good()) {
           f.items[0].data.assign(std::size_t{1} << 18, huge.view(std::size_t{1} << 46));
         } else {
           f.primaryItem = 0;
         }
       }},
  };
  for (const auto& c : cases) {
    OutputFile file = smallFile();
    c.change(file);
    EXPECT_FALSE(serialise(file)) << c.what;
  }
}

}  // namespace
}  // namespace quellor::heif
