#pragma once

#include "data/database.h"

#include <new>

// Reading what a letter or a figure follows to: a row that must exist and is missing is thrown as
// a MissingRow; the read's failure becomes its catalogue message.
struct MissingRow
{};

// Runs read; returns 0, or 108 for a missing row, 109 for a database failure, 49 out of memory,
// after running reset.
template <typename Read, typename Reset> int guardedRead(Read read, Reset reset)
{
    try {
        read();
        return 0;
    } catch (const MissingRow &) {
        reset();
        return 108;
    } catch (const DbError &) {
        reset();
        return 109;
    } catch (const std::bad_alloc &) {
        reset();
        return 49;
    }
}
