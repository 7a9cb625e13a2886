#pragma once

/// Makes allocations of this thread fail, those of SQLite included, while it lives.
class Fuse
{
public:
    /// @param a_iFirst the first that fails, from 1
    /// @param a_bRest whether all later ones fail, too
    Fuse(int a_iFirst, bool a_bRest);
    ~Fuse();
    Fuse(const Fuse&) = delete;
    Fuse& operator=(const Fuse&) = delete;

    /// How many allocations are left before the first that fails; 0 or less: some failed.
    [[nodiscard]] static int getLeft();
};
