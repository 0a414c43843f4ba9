// The stack of node references used by the tree walks: 200 entries in place, and a heap
// area that takes over (and doubles) when a tree is deeper than that.
#ifndef SRC_QUERY_NODE_STACK_H_
#define SRC_QUERY_NODE_STACK_H_

#include "zelkLogRead.h"

#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace zelk::query {

class NodeStack {
public:
    static constexpr size_t kFixedEntries = 200;

    NodeStack() = default;
    NodeStack(const NodeStack &) = delete;
    NodeStack &operator=(const NodeStack &) = delete;
    ~NodeStack()
    {
        if (entries_ != fixed_)
            std::free(entries_);
    }

    bool empty() const { return size_ == 0; }
    // The walks look at and pop only a stack that holds something.
    QueryNode *top() const
    {
        assert(size_ > 0);
        return entries_[size_ - 1];
    }
    QueryNode *pop()
    {
        assert(size_ > 0);
        return entries_[--size_];
    }

    // False (and nothing pushed) when the stack is full and cannot grow.
    bool push(QueryNode *node)
    {
        if (size_ == capacity_ && !grow())
            return false;
        entries_[size_++] = node;
        return true;
    }

private:
    bool grow()
    {
        const size_t capacity = capacity_ * 2;
        auto *entries = static_cast<QueryNode **>(std::malloc(capacity * sizeof(QueryNode *)));
        if (entries == nullptr)
            return false;
        std::memcpy(entries, entries_, size_ * sizeof(QueryNode *));
        if (entries_ != fixed_)
            std::free(entries_);
        entries_ = entries;
        capacity_ = capacity;
        return true;
    }

    QueryNode *fixed_[kFixedEntries];
    QueryNode **entries_ = fixed_;
    size_t size_ = 0;
    size_t capacity_ = kFixedEntries;
};

}  // namespace zelk::query

#endif  // SRC_QUERY_NODE_STACK_H_
