// SPDX-License-Identifier: Apache-2.0
#pragma once

struct TEVlist;

/// One field of a record.
struct TEVnode {
    TEVlist* ourList;   ///< the list that owns the node
    TEVnode* nextNode;  ///< next field, null after the last
    TEVnode* prevNode;  ///< previous field, null before the first
    /// Location that holds the field's text: a `char*` is read through this pointer. A null
    /// `dataPtr`, or a null text that it points at, is an absent field.
    void* dataPtr;
};

/// A record of the server: its fields in wire order. Record handlers read `listTop`, `nextNode` and
/// `dataPtr` only, and neither change nor free the list, which belongs to the calling thread.
struct TEVlist {
    TEVnode* listTop;                               ///< first field, null for an empty record
    TEVnode* listBot;                               ///< last field
    unsigned long elements;                         ///< number of fields
    int (*sortFunction)(const void*, const void*);  ///< order of the list; unused by records
    void (*defaultDeleteNodeFn)(TEVnode*);          ///< disposal of a node; unused by records
    signed long dataLen;                            ///< length of the node data
    char bufId;                                     ///< buffer identifier
    char duplicates;                                ///< whether duplicates are allowed
    char defaultAddNodePos;                         ///< default insertion position
    char magic;                                     ///< validity mark
};
