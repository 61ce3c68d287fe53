/* foreign_blas.c: a BLAS and LAPACK of 32-bit integers under the usual unsuffixed names, for
 * foreign_blas_host. Each function counts the call and does nothing: any use of it shows. */
#define EXPORTED __attribute__((visibility("default")))

EXPORTED extern int foreign_calls;
int foreign_calls = 0;

#define FOREIGN(name)           \
    EXPORTED double name(void); \
    double name(void) {         \
        ++foreign_calls;        \
        return -77.0;           \
    }                           \
    extern int foreign_calls

/* clang-format off */
FOREIGN(cblas_daxpy); FOREIGN(cblas_dcopy); FOREIGN(cblas_ddot); FOREIGN(cblas_dscal);
FOREIGN(cblas_dswap); FOREIGN(cblas_idamax); FOREIGN(cblas_idamin); FOREIGN(cblas_dgemv);
FOREIGN(cblas_dspmv); FOREIGN(cblas_dspr); FOREIGN(cblas_dtpmv); FOREIGN(cblas_dtpsv);
FOREIGN(cblas_dgemm); FOREIGN(cblas_dsymm); FOREIGN(cblas_dgemmt); FOREIGN(xerbla_);
FOREIGN(lsame_); FOREIGN(dlamch_); FOREIGN(ilaenv_); FOREIGN(daxpy_); FOREIGN(dcopy_);
FOREIGN(ddot_); FOREIGN(dscal_); FOREIGN(dswap_); FOREIGN(idamax_); FOREIGN(dgemv_);
FOREIGN(dspmv_); FOREIGN(dspr_); FOREIGN(dtpmv_); FOREIGN(dtpsv_); FOREIGN(dgemm_);
FOREIGN(dsymm_); FOREIGN(dtrsm_); FOREIGN(dsyrk_); FOREIGN(dgesv_); FOREIGN(dgetrf_);
FOREIGN(dgetf2_); FOREIGN(dgetrs_); FOREIGN(dlaswp_); FOREIGN(dpotrf_); FOREIGN(dpotrf2_);
FOREIGN(dpotf2_); FOREIGN(dpotri_); FOREIGN(dpptrf_); FOREIGN(dpptri_); FOREIGN(dtptri_);
FOREIGN(dlauum_); FOREIGN(dtrtri_); FOREIGN(LAPACKE_dgesv); FOREIGN(LAPACKE_dgesv_work);
FOREIGN(LAPACKE_dpotrf); FOREIGN(LAPACKE_dpotrf_work); FOREIGN(LAPACKE_dpotri);
FOREIGN(LAPACKE_dpptrf); FOREIGN(LAPACKE_dpptri); FOREIGN(LAPACKE_xerbla);
FOREIGN(LAPACKE_get_nancheck); FOREIGN(LAPACKE_dge_trans); FOREIGN(LAPACKE_dge_nancheck);
FOREIGN(openblas_set_num_threads); FOREIGN(openblas_get_num_threads); FOREIGN(gotoblas);
FOREIGN(mkl_dtppack); FOREIGN(mkl_dtpunpack); FOREIGN(MKL_Domatcopy); FOREIGN(MKL_Dimatcopy);
FOREIGN(MKL_CBWR_Set);
/* clang-format on */
