// RAID volumes that are attached and detached, and what the daemon's registry of them must hold.

#ifndef HALVORIX_TESTS_SOAK_SOAKDISKS_H
#define HALVORIX_TESTS_SOAK_SOAKDISKS_H

#include "lab/Machine.h"

#include <random>
#include <set>
#include <string>

class TSoakDisks
{
public:
    // machine, random  outlive this object
    TSoakDisks(lab::TMachine& machine, std::mt19937& random);

    // Attaches a disk or detaches it. The driver must be loaded.
    void ChangeOne();

    // Attaches all that are detached, and detaches the others, likewise.
    void ChangeAll();

    // Returns when the daemon has dealt with everything that changed before. Its tools must work.
    void Settle();

    // Fails the test unless the identities of the disks that are attached are taken, and those of no others: each is tried
    // with another volume that has the same. The log of tools is emptied, so none may be running. All must be settled.
    void CompareRegistry();

    void DetachAll();

    unsigned Changes() const { return fChanges; }

private:
    void MakeVolume(const std::string& bsdName, unsigned identity);
    void Change(unsigned disk);
    void Attach(const std::string& bsdName);
    void Detach(const std::string& bsdName);
    std::multiset<std::string> AskedWith(const std::string& option) const;

    lab::TMachine& fMachine;
    std::mt19937& fRandom;
    std::set<unsigned> fAttached;
    unsigned fChanges = 0;
};

#endif
