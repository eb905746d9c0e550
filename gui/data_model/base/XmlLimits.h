#pragma once

/**
 * What a document may cost. Reading refuses what passes a limit, and writing refuses to write what reading
 * would refuse. Each description names its own (the descriptions in documents/).
 */
struct XmlLimits
{
    /// Bytes of a whole document.
    int size = 8 * 1024 * 1024;
    /// Elements open at once.
    int depth = 16;
    int elements = 200000;
    /// Bytes of what the classes do not know and keep. More is skipped, with a warning.
    int unknown = 256 * 1024;

    /// Attributes of one element; the same for every document. Two of a name are found by comparing them all.
    static constexpr int attributes = 32;
};
