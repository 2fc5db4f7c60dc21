@echo off
rem SPDX-License-Identifier: MIT
rem Registers the component, its proxies and the sample server in the folder of this script. Run it as administrator.
rem unregister.cmd undoes this.
setlocal
set failed=0
for %%m in (LXConfigFactoryCache32 LXConfigFactoryCachePS LXCfgCacheCallback LXSampleServerPS) do (
    if exist "%~dp0bin\%%m.dll" (
        regsvr32 /s "%~dp0bin\%%m.dll"
        if errorlevel 1 (
            echo %%m.dll cannot be registered
            set failed=1
        ) else (
            echo %%m.dll is registered
        )
    )
)
if exist "%~dp0bin\lxsampleserver.exe" (
    "%~dp0bin\lxsampleserver.exe" --register --model "%~dp0share\lxconfigfactorycache\models\plant.json"
    if errorlevel 1 (
        echo lxsampleserver.exe cannot be registered
        set failed=1
    ) else (
        echo lxsampleserver.exe is registered
    )
)
exit /b %failed%
