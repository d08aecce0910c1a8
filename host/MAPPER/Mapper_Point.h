#pragma once

#include <HOST_Export.h>

/// A pixel position: column and row from 0.
struct HOST_API Mapper_Point {
    Mapper_Point(int x, int y) : m_X(x), m_Y(y) {}

    int m_X;
    int m_Y;
};
