// The walk that turns a mainframe into the tree and its start-up texts.
#pragma once

class ZANTONode;
class ZANTOOutputFile;

// Builds the tree under `root`, which has its handle, name and host, and writes the texts of
// each node. Main thread; blocks as long as the access library does. Lets exceptions out.
void ZANTOBuildTree(ZANTONode &root, ZANTOOutputFile &database, ZANTOOutputFile &pvList);
