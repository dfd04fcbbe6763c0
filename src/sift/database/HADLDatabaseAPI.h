// The read side and the write side of the database: persistence to a file or a POSIX
// shared-memory object, the text dumps and the walk over the unit tree. Every persistence
// operation returns 0 or -1 and lets no exception out, but one: a failed save that cannot
// remove its partial file throws boost::filesystem::filesystem_error.
#pragma once

#include "sift/database/HADLDatabase.h"

#include <functional>
#include <string>

class HADLDatabaseConstAPI {
public:
    // What a visitor of the unit walk gets for each node.
    struct UnitVisitContext {
        unsigned unitId = 0;
        unsigned instId = 0;
        unsigned fileId = 0;
        unsigned line = 0;
        bool hasParam = false;
        bool isInactive = false;
        bool instNameHasLib = false;
        unsigned parentUnitId = 0;
        unsigned depth = 0;
    };
    using UnitVisitor = std::function<int(const UnitVisitContext&)>;

    explicit HADLDatabaseConstAPI(const HADLDatabase& database) : db(&database) {}

    int save(const std::string& path) const;
    int serialize(const std::string& shmName) const;

    // An empty file name writes to standard output.
    int print(const std::string& fileName) const;
    int printHierTree(const std::string& fileName) const;
    int walkUnitTree(unsigned unitId, const UnitVisitor& visitor) const;
    std::string getDefaultLibrary() const { return db->getDefaultLibrary(); }

protected:
    const HADLDatabase* db;
};

class HADLDatabaseAPI : public HADLDatabaseConstAPI {
public:
    explicit HADLDatabaseAPI(HADLDatabase& database) : HADLDatabaseConstAPI(database), mutableDb(&database) {}

    // Both replace the whole database; on a damaged archive it is left partly filled.
    int load(const std::string& path);
    // Reads and then removes the shared-memory object, also when the read fails.
    int deserialize(const std::string& shmName);

private:
    HADLDatabase* mutableDb;
};
