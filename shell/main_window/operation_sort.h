// The order of operations by a column of the list.
#pragma once

class CPortForwardOp;

/// Columns of the list.
enum OperationColumn : int {
    COLUMN_STATUS,
    COLUMN_PROTOCOL,
    COLUMN_LOCAL_IP,
    COLUMN_LOCAL_PORT,
    COLUMN_REMOTE_HOST,
    COLUMN_REMOTE_PORT,
};

/// Below 0, 0 or above 0 as the first operation comes before, beside or behind the second. nSortSign is 1 or -1; with 1
/// the smaller value comes behind the larger one, except in the column of the hosts, which runs the other way round. A
/// null operation is beside every other, and so are all in a column that does not exist.
int CompareOperations(const CPortForwardOp* pFirst, const CPortForwardOp* pSecond, int nColumn, int nSortSign);
