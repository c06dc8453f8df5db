#include "limbrex/math/quaternion.h"

namespace lbx
{

Quat quat_from_axes(Vec4 x, Vec4 y, Vec4 z)
{
    // Columns of the matrix are the axes: m(row, column).
    const float m[3][3] = {{x_of(x), x_of(y), x_of(z)}, {y_of(x), y_of(y), y_of(z)}, {z_of(x), z_of(y), z_of(z)}};
    const float trace = m[0][0] + m[1][1] + m[2][2];
    float q[4];
    if (trace > 0.0f)
    {
        const float s = sqrt_scalar(trace + 1.0f) * 2.0f;
        q[3] = 0.25f * s;
        q[0] = (m[2][1] - m[1][2]) / s;
        q[1] = (m[0][2] - m[2][0]) / s;
        q[2] = (m[1][0] - m[0][1]) / s;
    }
    else
    {
        const int largest = m[1][1] > m[0][0] ? 1 : 0;
        const int i = m[2][2] > m[largest][largest] ? 2 : largest;
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        const float square = m[i][i] - m[j][j] - m[k][k] + 1.0f;
        const float s = sqrt_scalar(square > 1e-12f ? square : 1e-12f) * 2.0f;
        q[i] = 0.25f * s;
        q[j] = (m[j][i] + m[i][j]) / s;
        q[k] = (m[k][i] + m[i][k]) / s;
        q[3] = (m[k][j] - m[j][k]) / s;
    }
    return normalize_quat(load4(q));
}

}  // namespace lbx
