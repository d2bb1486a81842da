// A plug-in that contains the library stays loaded: threads of the bus may run its code.

#include <dlfcn.h>
#include <link.h>

#include <gtest/gtest.h>

namespace {

class UnloadTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(plugin, nullptr) << ::dlerror(); }

  void* const plugin = ::dlopen(UNLOAD_PLUGIN, RTLD_NOW | RTLD_LOCAL);
};

// Compilers add symbols of their own that keep a plug-in loaded, but not all of them: the flag
// itself is tested.
TEST_F(UnloadTest, APlugInWithTheLibraryIsLinkedWithNodelete) {
  const link_map* map = nullptr;
  ASSERT_EQ(::dlinfo(plugin, RTLD_DI_LINKMAP, &map), 0) << ::dlerror();

  bool isNodelete = false;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_FLAGS_1) {
      isNodelete = (entry->d_un.d_val & DF_1_NODELETE) != 0;
    }
  }

  EXPECT_TRUE(isNodelete) << "the link of " << UNLOAD_PLUGIN << " lacks -z nodelete";
}

TEST_F(UnloadTest, APlugInWithTheLibraryCanBeUsedAfterItIsClosed) {
  const auto use = reinterpret_cast<void (*)()>(::dlsym(plugin, "usePlugin"));
  ASSERT_NE(use, nullptr) << ::dlerror();

  EXPECT_EQ(::dlclose(plugin), 0);

  void* const again = ::dlopen(UNLOAD_PLUGIN, RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
  ASSERT_NE(again, nullptr) << "dlclose has unloaded the library";
  use();
}

}  // namespace
