#pragma once

#include <COM/com_identifiers.h>

/// The configuration object: offers PRM_ITree, which is its root node, and PRM_ITreeRoot.
constexpr CLSID CLSID_PRM_Tree = com_id::kTreeClass;

/// The iterator object: offers PRM_ITreeIterator.
constexpr CLSID CLSID_PRM_TreeIterator = com_id::kTreeIteratorClass;
