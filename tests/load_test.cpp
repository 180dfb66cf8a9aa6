#include "tests/support/support.h"

#include <algorithm>
#include <dlfcn.h>
#include <fstream>
#include <malloc.h>
#include <thread>

namespace
{

// The library is not linked into this program: it is loaded and unloaded.

struct Library
{
    void* handle = dlopen(MIROVAN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ~Library() { dlclose(handle); }

    template <class Symbol>
    Symbol* find(const char* name) const
    {
        auto* symbol = dlsym(handle, name);
        EXPECT_NE(symbol, nullptr) << name;
        return reinterpret_cast<Symbol*>(symbol);
    }
};

TEST(Load, StateIsClearAndObjectsAreThere)
{
    const Library library;
    ASSERT_NE(library.handle, nullptr) << dlerror();
    EXPECT_FALSE(*library.find<bool>("Mirovan_IsErrorOccur"));
    EXPECT_EQ(*library.find<uint64_t>("Mirovan_dwErrorCode"), 0U);
    EXPECT_EQ(library.find<decltype(Mirovan_GetLastError)>("Mirovan_GetLastError")(nullptr), 0U);
    for (const char* object : {"m_FileSdk", "m_Hardware", "m_ProcessSdk", "m_SystemSdk"})
        library.find<char>(object);
}

TEST(Load, AThousandTimesLeaksNothing)
{
    const auto held = test::Held::now();
    std::size_t in_use = 0;
    for (int round = 0; round < 1000; ++round)
    {
        const Library library;
        ASSERT_NE(library.handle, nullptr) << dlerror();
        auto* attributes =
            library.find<decltype(Mirovan_File_GetFileAttrA)>("Mirovan_File_GetFileAttrA");
        std::thread{[&] { attributes(nullptr, nullptr); }}.join();
        attributes(nullptr, nullptr);
        if (round == 100)
            in_use = mallinfo2().uordblks;
    }
    EXPECT_EQ(dlopen(MIROVAN_LIBRARY, RTLD_NOLOAD | RTLD_NOW), nullptr) << "still loaded";
    EXPECT_LE(mallinfo2().uordblks, in_use + 4096);
    EXPECT_EQ(test::Held::now(), held);
}

} // namespace
