// Writes a database whose first collection (10 members) stores a CSet of every encoding, for the
// check of docs/file-format.md: index 2 the permutation 7 2 5 (index 3 its ascending twin),
// 4 the runs 0-2 and 6-9, 5 the list 1 4 9, 6 two blocks of two, four apart from 0.
#include <vel/vel.h>

int main(int argc, char** argv) {
    int modules = 0;
    UTI_VelDynamicAPI_initialize(modules);
    const char* const file = argc > 1 ? argv[1] : "cset-forms.vel";
    const VelContextID id = VelManager::CreateContext(file, hdf_File::CreateFlagsTruncate, 1);
    const VelCollectionRef collection(VelContextRef(id).CreateCollection(10));
    const int order[] = {7, 2, 5};
    collection.CreateOrderedCSet(order, 3);
    const int runs[] = {0, 1, 2, 6, 7, 8, 9};
    collection.CreateCSet(runs, 7);
    const int list[] = {1, 4, 9};
    collection.CreateCSet(list, 3);
    collection.CreateCSetStrided(0, 4, 2, 2);
    VelManager::CloseContext(id);
    UTI_VelDynamicAPI_finalize(modules);
    return 0;
}
