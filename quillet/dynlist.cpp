// The list type. Trees of lists are walked by their owner pointers, never by
// recursion, so that nesting costs no stack: freeing and copying a list a
// million levels deep takes the same few bytes as a flat one.
//
// Holds are counted along the owner chain. A list's count covers everything
// below it, so the count at the root answers "may this tree go?" at once, and a
// held list that is moved under another takes its holds along.
#include "quillet.h"

#include <cassert>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

long allocations_until_failure = 0; // 0: none is to fail

// True when the allocation that asks is the one a test wants to fail.
bool must_fail()
{
    return allocations_until_failure > 0 && --allocations_until_failure == 0;
}

std::size_t element_size(int datatype)
{
    switch (datatype) {
    case DFU_INT:
        return sizeof(int);
    case DFU_FLOAT:
        return sizeof(float);
    case DFU_LIST:
        return sizeof(DynList*);
    default:
        return 0;
    }
}

DynList** children(const DynList* list)
{
    return static_cast<DynList**>(list->values);
}

DynList* root_of(DynList* list)
{
    while (list->owner != nullptr) {
        list = list->owner;
    }
    return list;
}

// A list that nobody owns or has given up, free to be moved or registered.
bool at_large(const DynList* list)
{
    return list->owner == nullptr && list->state == 0;
}

// A list around `values`, which may be null; null, with `values` untouched, when
// memory is short.
DynList* wrap(int datatype, int count, int capacity, void* values)
{
    auto* const list = static_cast<DynList*>(dfuAllocate(1, sizeof(DynList)));
    if (list != nullptr) {
        *list = DynList{datatype, count, capacity, values, nullptr, 0, 0};
    }
    return list;
}

// Room for one more child. Capacity doubles, so n moves cost O(n) in all; near
// the ends of int and size_t it goes as far as it can and then fails.
bool make_room(DynList* parent)
{
    assert(parent->count >= 0 && parent->count <= parent->capacity);
    if (parent->count < parent->capacity) {
        return true;
    }
    if (parent->capacity == INT_MAX) {
        return false;
    }
    constexpr int first_capacity = 4;
    int capacity = first_capacity;
    if (parent->capacity >= first_capacity) {
        capacity = parent->capacity > INT_MAX / 2 ? INT_MAX : 2 * parent->capacity;
    }
    if (static_cast<std::size_t>(capacity) > SIZE_MAX / sizeof(DynList*) || must_fail()) {
        return false;
    }
    void* const grown = std::realloc(parent->values, static_cast<std::size_t>(capacity) * sizeof(DynList*));
    if (grown == nullptr) {
        return false;
    }
    parent->values = grown;
    parent->capacity = capacity;
    return true;
}

// Frees the tree below an unowned root: always the last child first, so that
// `count` is the place to go on from when the way leads back up.
void destroy(DynList* root)
{
    DynList* list = root;
    while (list != nullptr) {
        if (list->datatype == DFU_LIST && list->count > 0) {
            DynList* const child = children(list)[--list->count];
            child->owner = list;
            list = child;
            continue;
        }
        DynList* const owner = list == root ? nullptr : list->owner;
        std::free(list->values);
        std::free(list);
        list = owner;
    }
}

// A copy of one list. A list of lists gets its source's children in the array
// but a count of 0: dfuCopyDynList replaces them one by one and counts up, so
// that at any moment the copy owns exactly what it counts.
DynList* copy_shell(const DynList* source)
{
    void* values = nullptr;
    if (source->count > 0) {
        const std::size_t size = element_size(source->datatype);
        const auto count = static_cast<std::size_t>(source->count);
        values = dfuAllocate(count, size);
        if (values == nullptr) {
            return nullptr;
        }
        std::memcpy(values, source->values, count * size);
    }
    const int copied = source->datatype == DFU_LIST ? 0 : source->count;
    DynList* const shell = wrap(source->datatype, copied, source->count, values);
    if (shell == nullptr) {
        std::free(values);
    }
    return shell;
}

} // namespace

extern "C" {

void dfuFailAllocation(long nth)
{
    allocations_until_failure = nth;
}

void* dfuAllocate(size_t count, size_t size)
{
    if (must_fail() || (size != 0 && count > SIZE_MAX / size)) {
        return nullptr;
    }
    const std::size_t bytes = count * size;
    return std::malloc(bytes != 0 ? bytes : 1); // so that null always means failure
}

DynList* dfuCreateDynList(int datatype, int capacity)
{
    const std::size_t size = element_size(datatype);
    if (size == 0 || capacity < 0) {
        return nullptr;
    }
    void* values = nullptr;
    if (capacity > 0) {
        values = dfuAllocate(static_cast<std::size_t>(capacity), size);
        if (values == nullptr) {
            return nullptr;
        }
    }
    DynList* const list = wrap(datatype, 0, capacity, values);
    if (list == nullptr) {
        std::free(values);
    }
    return list;
}

DynList* dfuCreateDynListWithVals(int datatype, int n, void* values)
{
    if (element_size(datatype) == 0 || n < 0 || (n > 0 && values == nullptr)) {
        return nullptr;
    }
    DynList* const list = wrap(datatype, n, n, values);
    if (list == nullptr || datatype != DFU_LIST) {
        return list;
    }
    // Adopting marks a child as owned, so a second one of the same is noticed.
    for (int i = 0; i < n; ++i) {
        DynList* const child = children(list)[i];
        if (child == nullptr || !at_large(child)) {
            while (--i >= 0) {
                children(list)[i]->owner = nullptr;
            }
            std::free(list);
            return nullptr;
        }
        child->owner = list;
        list->holds += child->holds;
    }
    return list;
}

int dfuMoveDynListList(DynList* parent, DynList* child)
{
    // An unowned list above the parent can only be the root of its tree.
    if (parent == nullptr || child == nullptr || parent->datatype != DFU_LIST || !at_large(child) ||
        root_of(parent) == child || !make_room(parent)) {
        return 1;
    }
    children(parent)[parent->count++] = child;
    child->owner = parent;
    for (DynList* above = parent; above != nullptr; above = above->owner) {
        above->holds += child->holds;
    }
    return 0;
}

DynList* dfuCopyDynList(const DynList* list)
{
    DynList* const root = list != nullptr ? copy_shell(list) : nullptr;
    DynList* copy = root;
    while (copy != nullptr) {
        if (copy->datatype != DFU_LIST || copy->count == copy->capacity) {
            copy = copy->owner; // complete; null above the root
            continue;
        }
        // The analyser does not see that copy_shell filled the array.
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage)
        DynList* const child = copy_shell(children(copy)[copy->count]);
        if (child == nullptr) {
            destroy(root);
            return nullptr;
        }
        children(copy)[copy->count++] = child;
        child->owner = copy;
        copy = child;
    }
    return root;
}

void dfuFreeDynList(DynList* list)
{
    if (list == nullptr || list->owner != nullptr || (list->state & DFU_REGISTERED) != 0) {
        return;
    }
    if (list->holds > 0) {
        list->state |= DFU_CONDEMNED;
        return;
    }
    destroy(list);
}

void dfuHoldDynList(DynList* list)
{
    for (; list != nullptr; list = list->owner) {
        ++list->holds;
    }
}

void dfuReleaseDynList(DynList* list)
{
    DynList* root = nullptr;
    for (; list != nullptr; list = list->owner) {
        assert(list->holds > 0);
        --list->holds;
        root = list;
    }
    if (root != nullptr && root->holds == 0 && (root->state & DFU_CONDEMNED) != 0) {
        destroy(root);
    }
}

} // extern "C"
