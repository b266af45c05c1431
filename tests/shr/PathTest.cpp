#include "shr/Path.h"

#include <gtest/gtest.h>

namespace {

TEST(Path, SplitsNameExtensionAndDirectory) {
    const struct {
        const wchar_t *path, *name, *ext, *dir;
    } cases[] = {
        {L"a/b/c.tif", L"c.tif", L".tif", L"a/b"},
        {L"C:\\img\\x.SID", L"x.SID", L".SID", L"C:\\img"},
        {L"dir.d/.hidden", L".hidden", L"", L"dir.d"},
    };
    for (const auto& c : cases) {
        shr::CPath p(c.path);
        EXPECT_EQ(p.GetFileName(), c.name);
        EXPECT_EQ(p.GetExtension(), c.ext);
        EXPECT_EQ(p.GetDirectory(), c.dir);
    }
}

} // namespace
