#pragma once

namespace vadro::lock
{

class NullMutex
{
};

} // namespace vadro::lock
