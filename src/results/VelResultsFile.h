#ifndef VEL_RESULTS_VELRESULTSFILE_H
#define VEL_RESULTS_VELRESULTSFILE_H

#include <map>
#include <memory>
#include <string>
#include <vector>
#ifdef VEL_PARALLEL
#include <mpi.h>
#endif

#include "results/VelResultsSchema.h"
#include "vel/context/VelCSetID.h"
#include "vel/context/VelCollectionID.h"
#include "vel/context/VelContextID.h"
#include "vel/context/VelDistributionID.h"
#include "vel/context/VelDynamicID.h"
#include "vel/results/VelCellType.h"
#include "vel/results/VelResultsField.h"
#include "vel/views/VelView.h"

struct VelResultsLoader;

// One open results file, shared by its writer or reader and the field handles they gave out.
// It keeps what the records say and the identifiers of the objects holding the data; the data
// itself is read and written through transfers when asked for.
//
// Names added by a writer are held here until Publish writes them as records: a new view of the
// results form, inheriting every record of the one before, published, then the file committed.
class VelResultsFile : public std::enable_shared_from_this<VelResultsFile> {
public:
    struct Block {
        std::string name;
        VelCellType cellType = VelCellType::Vertex;
        int count = 0;
        int nodesPerElement = 0;
        VelCollectionID elements;
        VelCollectionID corners;
        VelDistributionID connectivity;
        VelDynamicID record;
    };
    struct Set {
        std::string name;
        int block = -1;  // -1 for a node set
        int size = 0;
        VelCSetID members;
        VelDynamicID record;
    };
    struct Field {
        std::string name;
        int block = -1;  // -1 for a nodal field
        std::vector<std::string> components;
        std::string units;
        VelCollectionID componentCollection;
        VelDistributionID values;
        VelDynamicID record;
    };

    // The database at `path`, made new or opened; a file that is no results file, or whose
    // records contradict its data, stops with a message (a validation failure).
    static std::shared_ptr<VelResultsFile> Create(const std::string& path);
    static std::shared_ptr<VelResultsFile> Open(const std::string& path, bool writable);
#ifdef VEL_PARALLEL
    // The same, shared by the ranks of `comm` (VelManager's parallel contexts).
    static std::shared_ptr<VelResultsFile> CreateParallel(const std::string& path, MPI_Comm comm);
    static std::shared_ptr<VelResultsFile> OpenParallel(const std::string& path, bool writable,
                                                        MPI_Comm comm);
#endif
    ~VelResultsFile();

    // Publishes what is new (when writable) and closes the database.
    void Close();
    bool IsOpen() const {
        return !m_id.IsNull();
    }
    const VelContextID& ContextID() const {
        return m_id;
    }
    const std::string& Path() const {
        return m_path;
    }
    // Stops with "<who>: <path> is closed" unless the file is open (and writable if asked).
    void RequireOpen(const char* who) const;
    void RequireWritable(const char* who) const;
    // Stops with "<who>: <message>" as a validation failure.
    [[noreturn]] void Fail(const char* who, const std::string& message) const;

    // Writing.
    // Rows `first` to `first + rows - 1` of the `count` nodes or elements: every row in a file
    // of one process, a rank's own rows in a parallel one.
    void AddNodes(int count, int first, int rows, const double* coordinates);
    void AddElementBlock(const std::string& name, VelCellType cellType, int count,
                         int nodesPerElement, int first, int rows, const int* connectivity);
    void AddSet(const std::string& name, int block, const int* ids, int count);
    int AddField(const std::string& name, int block, const std::vector<std::string>& components,
                 const std::string& units);
    int AddStep(double time);
    void Checkpoint();

    // Reading.
    int NodeCount() const {
        return m_nodeCount;
    }
    int StepCount() const;
    const std::vector<double>& Times() const;
    std::vector<double> Coordinates() const;
    std::vector<int> Connectivity(int block) const;
    std::vector<int> SetMembers(const Set& set) const;

    const std::vector<Block>& Blocks() const {
        return m_blocks;
    }
    const std::vector<Set>& Sets() const {
        return m_sets;
    }
    const std::vector<Field>& Fields() const {
        return m_fields;
    }
    // The index of the named object; -1 when there is none.
    int BlockIndex(const std::string& name) const;
    int SetIndex(const std::string& name, bool elementSet) const;
    int FieldIndex(const std::string& name) const;
    // The named object, or a validation failure of `who` naming what is missing.
    int RequireBlock(const char* who, const std::string& name) const;
    int RequireField(const char* who, const std::string& name) const;
    VelResultsField FieldHandle(int index);

    // Field values, checked against the field's shape; `set` is -1 for every row.
    void WriteField(int field, int step, const double* values, size_t count);
    void WriteFieldRows(const char* who, int field, int step, int first, int rows,
                        const double* values);
    void ReadFieldRows(int field, int step, int first, int rows, double* values) const;
    void ReadField(int field, int step, int set, double* values, size_t count) const;
    void ReadHistory(int field, int entity, double* values, size_t count) const;
    int EntityCount(const Field& field) const;

    // The drawer holding each step of a field (the newest, when a step was written again);
    // a null drawer for a step it has no values at.
    std::vector<VelDrawerID> StepDrawers(const Field& field) const;
    // The HDF5 paths of the datasets holding the coordinates and a block's connectivity.
    std::string CoordinatesPath() const;
    std::string ConnectivityPath(int block) const;

private:
    VelResultsFile(const std::string& path, bool writable);
    void MakeSteps();
    void Load();
    void LoadSteps(const VelResultsLoader& load);
    void LoadMesh(const VelResultsLoader& load);
    void LoadBlocks(const VelResultsLoader& load);
    void LoadSets(const VelResultsLoader& load, bool elementSets);
    void LoadFields(const VelResultsLoader& load);
    // Stop unless the times are one double per step, the coordinates 3 doubles per node.
    void CheckTimes() const;
    void CheckCoordinates() const;
    void Publish();
    void CheckNewName(const char* who, const std::string& name, bool taken) const;
    // Stops unless rows `first` to `first + rows - 1` are among `count`, and all of them in a
    // file of one process.
    void CheckRows(const char* who, const std::string& what, int first, int rows, int count) const;
    VelCSetID StepCSet(int step);
    [[noreturn]] void Refuse(const std::string& reason) const;

    std::string m_path;
    bool m_writable = false;
    // Shared by the ranks of a parallel context.
    bool m_parallel = false;
    int m_modules = 0;
    VelContextID m_id;
    std::shared_ptr<const VelResultsSchema> m_schema;
    // The latest published results view: the ancestor of the next one.
    VelView m_view;

    VelCollectionID m_steps;
    VelDistributionID m_times;
    VelDynamicID m_stepsRecord;
    // Each step's CSet, found in the file when first needed after an open.
    std::vector<VelCSetID> m_stepCSets;
    mutable std::vector<double> m_timeValues;
    mutable bool m_timesRead = false;
    // Set once CheckTimes / CheckCoordinates passed: they run when the values are first used.
    mutable bool m_timesChecked = false;

    bool m_hasMesh = false;
    int m_nodeCount = 0;
    VelCollectionID m_nodes;
    VelCollectionID m_axes;
    VelDistributionID m_coordinates;
    mutable bool m_coordinatesChecked = false;
    VelDynamicID m_meshRecord;

    std::vector<Block> m_blocks;
    std::vector<Set> m_sets;
    std::vector<Field> m_fields;
    std::map<std::string, int> m_blockIndex;
    std::map<std::string, int> m_nodeSetIndex;
    std::map<std::string, int> m_elementSetIndex;
    std::map<std::string, int> m_fieldIndex;
};

#endif
