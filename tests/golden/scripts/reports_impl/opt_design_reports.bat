@echo off

rem  zBuild (TM)
rem  opt_design_reports.bat: a zBuild-generated Script
rem  Copyright the testers


set MQ_SDIR=%~dp0
cd /d "%MQ_SDIR%"
cscript /nologo /E:JScript "%MQ_SDIR%\opt_design_reports.js" %*
