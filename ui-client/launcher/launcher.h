#pragma once
#include <QObject>
