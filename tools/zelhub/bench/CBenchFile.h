#pragma once

#include "tools/zelhub/bench/BenchDescription.h"
#include "tools/zelhub/input/CJsonObject.h"

/// Reads a bench file: a simulated machine in JSON (docs/bench.md has the schema).
class CBenchFile
{
public:
    /// Reads and checks a file. Throws CToolError (usage) that says what is wrong and where.
    static BenchDescription Load(const std::string& strPath);

    /// The same from a text. Image files are looked for beside strName.
    static BenchDescription Parse(const JsonSource& source);

    /// One fault as bench files and states write it.
    static BenchFault ParseFault(CJsonObject object);
};
