// The chains of an operation's live sessions: a sentinel and, behind it, nodes that own the next one through pNext.
//
// The caller holds the lock of the chain.
#pragma once

#include <utility>

/// Links the node behind the last one.
template <class Node, class Pointer>
void AppendToChain(Node& head, Pointer pNode) {
    Node* pLast = &head;
    while (pLast->pNext) pLast = pLast->pNext.get();
    pLast->pNext = std::move(pNode);
}

/// Takes the node out and hands it over; null if it is not in the chain.
template <class Node>
[[nodiscard]] auto TakeFromChain(Node& head, const Node* pNode) {
    Node* pPrevious = &head;
    while (pPrevious->pNext && pPrevious->pNext.get() != pNode) pPrevious = pPrevious->pNext.get();
    auto pTaken = std::move(pPrevious->pNext);
    if (pTaken) pPrevious->pNext = std::move(pTaken->pNext);
    return pTaken;
}
