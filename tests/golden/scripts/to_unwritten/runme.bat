@echo off

rem  tarnel (TM)
rem  runme.bat: a tarnel-generated Script
rem  Copyright the testers


set MQ_SDIR=%~dp0
cd /d "%MQ_SDIR%"
set PATH=%SYSTEMROOT%\system32;%PATH%
cscript /nologo /E:JScript "%MQ_SDIR%\rundef.js" %*
