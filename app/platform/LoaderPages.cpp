#include "app/platform/LoaderPages.h"

#include <QtGlobal>

#ifdef Q_OS_LINUX
#include <algorithm>
#include <cstdint>
#include <link.h>
#include <span>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace Larkhaven::LoaderPages {

#ifdef Q_OS_LINUX

namespace {

struct Range {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

/// The list of the relocations that the loader works off at once (System V ABI, "Dynamic Section"); those of
/// functions, which may be looked up when they are first called, are another one.
Range relocations(const ElfW(Dyn) * entry, ElfW(Addr) base)
{
    Range range;
    std::uintptr_t size = 0;
    for (; entry->d_tag != DT_NULL; ++entry) {
        if (entry->d_tag == DT_RELA || entry->d_tag == DT_REL)
            range.begin = entry->d_un.d_ptr;
        else if (entry->d_tag == DT_RELASZ || entry->d_tag == DT_RELSZ)
            size = entry->d_un.d_val;
    }
    // The loader has turned offsets into addresses, but not in what the kernel maps.
    if (range.begin < base)
        range.begin += base;
    range.end = range.begin + size;
    return range;
}

int releaseOf(dl_phdr_info* object, size_t, void*)
{
    const std::span headers(object->dlpi_phdr, object->dlpi_phnum);
    const ElfW(Addr) base = object->dlpi_addr;
    const auto dynamic = std::ranges::find(headers, ElfW(Word){PT_DYNAMIC}, &ElfW(Phdr)::p_type);
    if (dynamic == headers.end())
        return 0;
    const Range range = relocations(reinterpret_cast<const ElfW(Dyn)*>(base + dynamic->p_vaddr), base);
    // What was written to is no longer the file's, and would be lost.
    const bool isReadOnly = std::ranges::any_of(headers, [&](const ElfW(Phdr) & header) {
        const std::uintptr_t begin = base + header.p_vaddr;
        return header.p_type == PT_LOAD && !(header.p_flags & PF_W) && begin <= range.begin &&
               range.end <= begin + header.p_filesz;
    });
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t first = (range.begin + page - 1) / page * page;
    const std::uintptr_t last = range.end / page * page;
    if (isReadOnly && first < last)
        madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
    return 0;
}

} // namespace

void release()
{
    dl_iterate_phdr(releaseOf, nullptr);
}

#else

void release() {}

#endif

} // namespace Larkhaven::LoaderPages
